#include "audio/WaveSource.h"

#include <cstring>

#include "audio/AudioClock.h"
#include "platform/Clock.h"

namespace zv {
namespace {

StereoFrame DecodeSample(const std::byte* at) {
    std::int16_t sample = 0;
    std::memcpy(&sample, at, sizeof sample);
    const float value = static_cast<float>(sample) * 3.0517578e-5F;
    return {value, value};
}

void StoreBuffer(AudioSource& source, const WaveBuffer& buffer, std::int64_t captureStartTime) {
    const std::int64_t count = buffer.bytesRecorded / 2;
    const std::int64_t first = CountedFrame(source.waveInStartTime, captureStartTime, source.waveInFrames);
    const FrameRange part = Acceptable(source.ring, {first, first + count});
    for (std::int64_t t = part.begin; t < part.end; ++t) {
        StoreFrame(source.ring, t, DecodeSample(buffer.data + 2 * (t - first)));
    }
    source.waveInFrames += count;
}

}  // namespace

Result OpenWaveSource(AudioSource& source) {
    source.stage = u"microphone compatibility driver";
    source.endpoint.reset();
    int code = OpenWaveInput(source.waveIn);
    for (int index = 0; code == 0 && index < waveBufferCount; ++index) {
        code = PrepareWaveBuffer(*source.waveIn, index);
        if (code == 0) {
            code = QueueWaveBuffer(*source.waveIn, index);
        }
    }
    return ResultOfSystemError(code);
}

Result StartWaveSource(AudioSource& source) {
    source.waveInStartTime = Counter100ns();
    const int code = StartWaveInput(*source.waveIn);
    source.started = code == 0;
    return ResultOfSystemError(code);
}

Result DrainWaveSource(AudioSource& source, std::int64_t captureStartTime) {
    for (int drained = 0; drained < waveBufferCount; ++drained) {
        const WaveBuffer buffer = PeekWaveBuffer(*source.waveIn, source.currentBuffer);
        if (!buffer.done) {
            break;
        }
        StoreBuffer(source, buffer, captureStartTime);
        const int code = QueueWaveBuffer(*source.waveIn, source.currentBuffer);
        if (code != 0) {
            return ResultOfSystemError(code);
        }
        source.currentBuffer = (source.currentBuffer + 1) % waveBufferCount;
    }
    return ResultOfSystemError(CheckWavePosition(*source.waveIn));
}

}  // namespace zv
