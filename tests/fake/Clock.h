// A clock that only a test, a precise wait or a sleep advances.
#pragma once

#include <atomic>
#include <cstdint>
#include <limits>
#include <vector>

#include "platform/Clock.h"

namespace zv::fake {

struct ClockControls {
    std::atomic<std::int64_t> nowNs{1'000'000'000};
    LocalTime localNow{2026, 3, 14, 15, 9, 26, 535};
    bool noTimer = false;  ///< MakePreciseTimer returns null
    /// A precise wait that would end after this time does not elapse: it sets `parked` and waits for its stop event.
    std::atomic<std::int64_t> parkAtNs{std::numeric_limits<std::int64_t>::max()};
    std::atomic<bool> parked{false};
    std::vector<std::int64_t> waitedUnits;  ///< of each precise wait; read while no wait runs
};

/// The user's zone: two hours ahead of UTC.
inline constexpr int secondsAheadOfUtc = 7200;

ClockControls& TheClock();
void ResetClock();
void AdvanceClockMs(std::int64_t milliseconds);

}  // namespace zv::fake
