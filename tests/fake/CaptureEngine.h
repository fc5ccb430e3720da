// An engine that captures nothing: each operation records its arguments, changes the atomics as on success or on a
// planned failure, and sets a short status text. It also checks that only one thread at a time is inside it.
#pragma once

#include <atomic>
#include <mutex>
#include <vector>

#include "capture/CaptureEngine.h"
#include "fake/Calls.h"

namespace zv::fake {

struct ReplayStart {
    bool enable = false;
    std::int32_t seconds = 0;
    bool operator==(const ReplayStart&) const = default;
};

/// The lists may be read while no operation runs.
struct EngineControls {
    std::vector<CaptureConfig> configs;
    std::vector<ReplayStart> replayStarts;
    std::vector<Text> clips;
    std::vector<Text> recordings;
    CapturePollResult pollResult;
    bool unchanged = false;  ///< Configure and StartReplay succeed and change nothing
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
};

EngineControls& TheEngine();
void ResetEngine(CaptureEngine& engine);

}  // namespace zv::fake
