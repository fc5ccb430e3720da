// The wave input functions without a callback: the done flag of each header is polled.
#include "platform/WaveInput.h"

#include <array>
#include <memory>

#include "platform/windows/Native.h"

namespace zv {

struct WaveInput {
    HWAVEIN device = nullptr;
    std::array<WAVEHDR, waveBufferCount> headers{};
    std::array<std::array<char, waveBufferBytes>, waveBufferCount> bytes{};
};

template <>
void Closer<WaveInput>::operator()(WaveInput* input) const noexcept {
    waveInReset(input->device);
    for (WAVEHDR& header : input->headers) {
        if ((header.dwFlags & WHDR_PREPARED) != 0) {
            waveInUnprepareHeader(input->device, &header, sizeof header);
        }
    }
    waveInClose(input->device);
    delete input;
}

namespace {

int CodeOfCall(MMRESULT result) { return static_cast<int>(result); }

WAVEHDR& HeaderAt(WaveInput& input, int index) { return input.headers[static_cast<std::size_t>(index)]; }

}  // namespace

int OpenWaveInput(Owned<WaveInput>& input) {
    WAVEFORMATEX format{};
    format.wFormatTag = WAVE_FORMAT_PCM;
    format.nChannels = 1;
    format.nSamplesPerSec = 48000;
    format.nAvgBytesPerSec = 96000;
    format.nBlockAlign = 2;
    format.wBitsPerSample = 16;
    // Made before the device is opened, so that an exception cannot leave the device open.
    auto made = std::make_unique<WaveInput>();
    const MMRESULT result = waveInOpen(&made->device, WAVE_MAPPER, &format, 0, 0, CALLBACK_NULL);
    if (result == MMSYSERR_NOERROR) {
        input.reset(made.release());
    }
    return CodeOfCall(result);
}

int PrepareWaveBuffer(WaveInput& input, int index) {
    WAVEHDR& header = HeaderAt(input, index);
    header.lpData = input.bytes[static_cast<std::size_t>(index)].data();
    header.dwBufferLength = waveBufferBytes;
    return CodeOfCall(waveInPrepareHeader(input.device, &header, sizeof header));
}

int QueueWaveBuffer(WaveInput& input, int index) {
    WAVEHDR& header = HeaderAt(input, index);
    header.dwBytesRecorded = 0;
    return CodeOfCall(waveInAddBuffer(input.device, &header, sizeof header));
}

int StartWaveInput(WaveInput& input) { return CodeOfCall(waveInStart(input.device)); }

WaveBuffer PeekWaveBuffer(const WaveInput& input, int index) {
    // The device's thread sets the flag.
    const volatile WAVEHDR& header = input.headers[static_cast<std::size_t>(index)];
    if ((header.dwFlags & WHDR_DONE) == 0) {
        return {};
    }
    return {true, header.dwBytesRecorded, reinterpret_cast<const std::byte*>(header.lpData)};
}

int CheckWavePosition(WaveInput& input) {
    MMTIME time{};
    time.wType = TIME_SAMPLES;
    return CodeOfCall(waveInGetPosition(input.device, &time, sizeof time));
}

}  // namespace zv
