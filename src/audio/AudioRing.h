// Two seconds of output audio of one source, each frame stored by its number on the output timeline.
//
// A slot is valid only if its stamp equals the requested frame; any other content is at least two seconds old and reads
// as silence. Only the audio thread touches a ring.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace zv {

inline constexpr std::int64_t outputRate = 48000;
inline constexpr std::int64_t ringFrames = 96000;
inline constexpr std::size_t blockFrames = 480;
inline constexpr std::size_t blockFloats = 2 * blockFrames;

struct StereoFrame {
    float left = 0;
    float right = 0;
};

struct AudioRing {
    std::vector<StereoFrame> samples = std::vector<StereoFrame>(ringFrames);
    std::vector<std::int64_t> stamps = std::vector<std::int64_t>(ringFrames, -1);
    std::int64_t readPosition = 0;  ///< output frames below it are past and never written again
};

/// A range of output frames, `end` not included.
struct FrameRange {
    std::int64_t begin = 0;
    std::int64_t end = 0;
};

/// The part of a range that the ring accepts now: not yet past, and not more than two seconds ahead.
FrameRange Acceptable(const AudioRing& ring, FrameRange range);

/// Stores one frame. `t` is within the range that Acceptable returned.
inline void StoreFrame(AudioRing& ring, std::int64_t t, StereoFrame frame) {
    const auto slot = static_cast<std::size_t>(t % ringFrames);
    ring.stamps[slot] = t;
    ring.samples[slot] = frame;
}

/// Adds the 480 frames from `first` on, times `gain`, to the interleaved block; from then on they are past.
void MixRing(AudioRing& ring, std::int64_t first, float gain, std::span<float, blockFloats> block);

}  // namespace zv
