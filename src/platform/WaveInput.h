// The older way to a microphone, for drivers that refuse the shared stream: the system's default input at 48 kHz,
// 16 bits, one channel, recorded into four buffers of 10 ms that go round.
//
// Calls that answer an int answer 0, or a positive code of the device, or a negative Result. One thread uses an
// input; the device fills a queued buffer from its side, so its bytes are only looked at once it is done.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/Owned.h"

namespace zv {

inline constexpr int waveBufferCount = 4;
inline constexpr std::uint32_t waveBufferBytes = 960;  ///< 480 samples, 10 ms

struct WaveInput;
/// Takes all buffers back and closes the device.
template <>
void Closer<WaveInput>::operator()(WaveInput* input) const noexcept;

int OpenWaveInput(Owned<WaveInput>& input);
int PrepareWaveBuffer(WaveInput& input, int index);

/// Hands a prepared buffer to the device, with nothing recorded in it. Buffers are filled in the order of queueing.
int QueueWaveBuffer(WaveInput& input, int index);
int StartWaveInput(WaveInput& input);

struct WaveBuffer {
    bool done = false;
    std::uint32_t bytesRecorded = 0;
    const std::byte* data = nullptr;  ///< little-endian 16-bit samples
};

WaveBuffer LookAtWaveBuffer(const WaveInput& input, int index);

/// Asks the device for its position; only the failure is of interest.
int CheckWavePosition(WaveInput& input);

}  // namespace zv
