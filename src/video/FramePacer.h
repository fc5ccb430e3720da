// When the next frame is due: the deadline arithmetic of the video loop, with the clock and the wait injected.
//
// Deadlines are a fixed number of whole nanoseconds apart. A late loop runs without waiting until it has caught up; a
// backlog of more than 100 ms is dropped.
#pragma once

#include <cstdint>
#include <functional>

namespace zv {

inline constexpr std::int64_t pacerResyncNs = 100'000'000;

struct FramePacer {
    std::function<std::int64_t()> now;  ///< nanoseconds of a steady clock
    /// Waits until a due time in units of 100 ns, negative because it is relative. Returns false if a stop ended the
    /// wait. Empty if there is no timer: then no tick waits.
    std::function<bool(std::int64_t dueTime)> wait;
    std::int64_t intervalNs = 0;
    std::int64_t deadlineNs = 0;
};

/// A pacer whose first tick is due at once.
FramePacer MakeFramePacer(std::uint32_t fps, std::function<std::int64_t()> now,
                          std::function<bool(std::int64_t dueTime)> wait);

/// The relative due time for `remainingNs` > 0: the time in whole units, negative, and at least one unit.
std::int64_t DueTimeOf(std::int64_t remainingNs);

/// Waits for the tick that is due and sets the deadline of the next one. Returns false if a stop ended the wait.
bool WaitForTick(FramePacer& pacer);

}  // namespace zv
