// From an endpoint's mix format to 48 kHz stereo float.
//
// Which formats are taken, how one sample is decoded, and how the frames of one packet become output frames: linear
// interpolation that looks at this packet only and carries nothing over to the next.
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

/// The tag that counts: the extension's when there is one.
std::uint32_t EffectiveTag(const MixFormat& mix);

/// False when no conversion exists; `format` is filled in any case.
bool AcceptFormat(const MixFormat& mix, SourceFormat& format);

/// One packet's sound: `frames` frames of `format`. Null data or no frames is silence.
struct PacketSound {
    const std::byte* data = nullptr;
    std::uint32_t frames = 0;
};

/// Converts and files the output frames of one packet, which together lie at `place`. What the ring does not take
/// is not converted. Frames of silence are filed as zeros.
void StorePacket(AudioRing& ring, const SourceFormat& format, PacketSound sound, FrameRange place);

}  // namespace zv
