#include "audio/AudioRing.h"

#include <algorithm>

namespace zv {

FrameRange Acceptable(const AudioRing& ring, FrameRange range) {
    const std::int64_t begin = std::max(range.begin, ring.readPosition);
    const std::int64_t end = std::min(range.end, ring.readPosition + ringFrames);
    return {begin, std::max(begin, end)};
}

void MixRing(AudioRing& ring, std::int64_t first, float gain, std::span<float, blockFloats> block) {
    auto slot = static_cast<std::size_t>(first % ringFrames);
    for (std::size_t i = 0; i < blockFrames; ++i) {
        if (ring.stamps[slot] == first + static_cast<std::int64_t>(i)) {
            block[2 * i] += gain * ring.samples[slot].left;
            block[2 * i + 1] += gain * ring.samples[slot].right;
        }
        slot = slot + 1 == static_cast<std::size_t>(ringFrames) ? 0 : slot + 1;
    }
    ring.readPosition = std::max(ring.readPosition, first + static_cast<std::int64_t>(blockFrames));
}

}  // namespace zv
