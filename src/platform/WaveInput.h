// The legacy interface to a microphone, for drivers that refuse the shared stream: the system's default input at
// 48 kHz, 16 bits, one channel, recorded into four buffers of 10 ms that are queued again after each use.
//
// Functions that return an int return 0, a positive code of the device, or a negative Result. One thread uses an input.
// The device fills a queued buffer on its own thread: the bytes may be read only after the buffer is done.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/Owned.h"

namespace zv {

inline constexpr int waveBufferCount = 4;
inline constexpr std::uint32_t waveBufferBytes = 960;  ///< 480 samples, 10 ms

struct WaveInput;
/// Cancels all buffers and closes the device.
template <>
void Closer<WaveInput>::operator()(WaveInput* input) const noexcept;

int OpenWaveInput(Owned<WaveInput>& input);
int PrepareWaveBuffer(WaveInput& input, int index);

/// Passes a prepared, empty buffer to the device. The device fills buffers in the order in which they were queued.
int QueueWaveBuffer(WaveInput& input, int index);
int StartWaveInput(WaveInput& input);

struct WaveBuffer {
    bool done = false;
    std::uint32_t bytesRecorded = 0;
    const std::byte* data = nullptr;  ///< little-endian 16-bit samples
};

/// Returns the state of a buffer without waiting.
WaveBuffer PeekWaveBuffer(const WaveInput& input, int index);

/// Queries the device's position, to detect a failed device.
int CheckWavePosition(WaveInput& input);

}  // namespace zv
