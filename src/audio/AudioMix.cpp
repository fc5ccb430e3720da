#include "audio/AudioMix.h"

namespace zv {
namespace {

/// A sum that is not a number becomes silence: a reader of raw floats would treat it as a broken stream.
float Clip(float value) {
    if (value != value) {
        return 0.0F;
    }
    return value < -1.0F ? -1.0F : value > 1.0F ? 1.0F : value;
}

}  // namespace

bool BlockIsDue(const AudioMix& mix, std::int64_t targetFrame) {
    return mix.nextBlockFrame + static_cast<std::int64_t>(blockFrames) <= targetFrame;
}

void FillBlock(AudioMix& mix) {
    mix.block.fill(0.0F);
    for (AudioRing* ring : {mix.system, mix.microphone}) {
        if (ring != nullptr) {
            MixRing(*ring, mix.nextBlockFrame, sourceGain, mix.block);
        }
    }
    for (float& value : mix.block) {
        value = Clip(value);
    }
}

void FinishBlock(AudioMix& mix) { mix.nextBlockFrame += static_cast<std::int64_t>(blockFrames); }

}  // namespace zv
