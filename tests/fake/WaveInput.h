// A wave input whose four buffers a test fills.
//
// Calls are recorded under the function's name. A failing call returns the planned code.
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
    std::vector<int> queueOrder;  ///< indices in the order in which they were queued
    bool running = false;
    int live = 0;  ///< devices that are open
};

WaveInputControls& TheWaveInput();
void ResetWaveInput();

/// Fills a queued buffer with these samples and marks it as done.
void CompleteWaveBuffer(int index, const std::vector<std::int16_t>& samples);

}  // namespace zv::fake
