// A wave input whose four buffers a test fills by hand.
//
// Calls are noted under the function's name; a failing call answers the planned code.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "platform/WaveInput.h"

namespace zv::fake {

struct WaveInputControls {
    struct Buffer {
        std::array<std::byte, waveBufferBytes> bytes{};
        std::uint32_t recorded = 0;
        bool prepared = false;
        bool queued = false;
        bool done = false;
    };
    std::array<Buffer, waveBufferCount> buffers;
    std::vector<int> queueOrder;  ///< indices as they were handed to the device
    bool running = false;
    int live = 0;  ///< devices that are open
};

WaveInputControls& TheWaveInput();
void ResetWaveInput();

/// The device gives a queued buffer back with these samples in it.
void CompleteWaveBuffer(int index, const std::vector<std::int16_t>& samples);

}  // namespace zv::fake
