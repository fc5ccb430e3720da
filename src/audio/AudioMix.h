// Mixes the sources into consecutive blocks of 10 ms.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "audio/AudioRing.h"

namespace zv {

inline constexpr float sourceGain = 1.0F;

struct AudioMix {
    AudioRing* system = nullptr;      ///< null when system sound is off
    AudioRing* microphone = nullptr;  ///< null when the microphone is off
    std::int64_t nextBlockFrame = 0;  ///< the output frame at which the next block begins
    std::array<float, blockFloats> block{};
};

/// Returns true while another block is due by the wall clock.
bool BlockIsDue(const AudioMix& mix, std::int64_t targetFrame);

/// Makes the block at `nextBlockFrame` from silence and both sources, clipped to -1 and +1.
void FillBlock(AudioMix& mix);

/// Called after the block has been written.
void FinishBlock(AudioMix& mix);

}  // namespace zv
