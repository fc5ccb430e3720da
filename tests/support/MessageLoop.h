// Runs the message loop in a test of real windows until a condition holds.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <utility>

#include "platform/Session.h"
#include "platform/Window.h"

namespace zv::support {

inline constexpr std::uintptr_t checkTimer = 1000;

struct LoopCondition {
    std::function<bool()> holds;
    bool fulfilled = false;  ///< the condition has held; it may be false again
    std::chrono::steady_clock::time_point limit;
};
inline LoopCondition loopCondition;

/// Called by a test's window procedure for each message. Returns true if the message was the timer of RunUntil.
inline bool HandlesCheckTimer(std::uint32_t code, std::uintptr_t wParam) {
    if (code != message::timer || wParam != checkTimer) {
        return false;
    }
    loopCondition.fulfilled = loopCondition.holds();
    if (loopCondition.fulfilled || std::chrono::steady_clock::now() > loopCondition.limit) {
        PostQuit(0);
    }
    return true;
}

/// Runs the loop until the condition holds. Returns false on timeout.
inline bool RunUntil(AppWindow& window, std::function<bool()> condition,
                     std::chrono::milliseconds limit = std::chrono::minutes(1)) {
    loopCondition = {std::move(condition), false, std::chrono::steady_clock::now() + limit};
    StartTimer(window, checkTimer, 5);
    RunMessageLoop();
    StopTimer(window, checkTimer);
    return loopCondition.fulfilled || loopCondition.holds();
}

}  // namespace zv::support
