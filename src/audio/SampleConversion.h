// From an endpoint's mix format to 48 kHz stereo float.
//
// Which formats are accepted, how one sample is decoded, and how the frames of one packet become output frames: linear
// interpolation within one packet, with no state between packets.
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/AudioRing.h"
#include "platform/AudioEndpoint.h"

namespace zv {

struct SourceFormat {
    std::uint32_t sampleRate = 0;
    std::uint32_t channels = 0;
    std::uint32_t bitsPerSample = 0;
    std::uint32_t blockAlign = 0;
    bool isFloat = false;
};

/// The effective tag: that of the extension if there is one.
std::uint32_t EffectiveTag(const MixFormat& mix);

/// Returns false if no conversion exists; `format` is filled in either case.
bool AcceptFormat(const MixFormat& mix, SourceFormat& format);

/// One packet's sound: `frames` frames of `format`. Null data or no frames is silence.
struct PacketSound {
    const std::byte* data = nullptr;
    std::uint32_t frames = 0;
};

/// Converts one packet and stores it as the output frames of `range`. Frames that the ring does not accept are not
/// converted. Silence is stored as zeros.
void StorePacket(AudioRing& ring, const SourceFormat& format, PacketSound sound, FrameRange range);

}  // namespace zv
