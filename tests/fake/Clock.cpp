#include "fake/Clock.h"

#include <chrono>

#include "fake/Calls.h"

namespace zv {

struct PreciseTimer {};

namespace fake {

ClockControls& TheClock() {
    static ClockControls clock;
    return clock;
}

void ResetClock() {
    ClockControls& clock = TheClock();
    clock.nowNs = 1'000'000'000;
    clock.localNow = {2026, 3, 14, 15, 9, 26, 535};
    clock.noTimer = false;
    clock.parkAtNs = std::numeric_limits<std::int64_t>::max();
    clock.parked = false;
    clock.waitedUnits.clear();
}

void AdvanceClockMs(std::int64_t milliseconds) { TheClock().nowNs += milliseconds * 1'000'000; }

}  // namespace fake

using fake::TheClock;

template <>
void Closer<PreciseTimer>::operator()(PreciseTimer* timer) const noexcept {
    const fake::Call call("~PreciseTimer");
    delete timer;
}

std::uint64_t TickMs() { return static_cast<std::uint64_t>(TheClock().nowNs.load() / 1'000'000); }
std::int64_t SteadyNs() { return TheClock().nowNs; }
std::int64_t Counter100ns() { return TheClock().nowNs / 100; }
LocalTime LocalNow() { return TheClock().localNow; }

LocalTime LocalTimeOf(std::int64_t written) {
    namespace time = std::chrono;
    constexpr std::int64_t secondsTo1970 = 11'644'473'600;
    const time::sys_seconds local{time::seconds(written / 10'000'000 - secondsTo1970 + fake::secondsAheadOfUtc)};
    const auto midnight = time::floor<time::days>(local);
    const time::year_month_day day(midnight);
    const time::hh_mm_ss clock(local - midnight);
    return {static_cast<int>(day.year()),
            static_cast<int>(static_cast<unsigned>(day.month())),
            static_cast<int>(static_cast<unsigned>(day.day())),
            static_cast<int>(clock.hours().count()),
            static_cast<int>(clock.minutes().count()),
            static_cast<int>(clock.seconds().count()),
            0};
}

void SleepMs(std::uint32_t milliseconds) { fake::AdvanceClockMs(milliseconds); }

Owned<PreciseTimer> MakePreciseTimer() {
    const fake::Call call("MakePreciseTimer");
    return Owned<PreciseTimer>(TheClock().noTimer ? nullptr : new PreciseTimer);
}

PreciseWait WaitPrecisely(PreciseTimer&, Event& stop, std::int64_t units) {
    const fake::Call call("WaitPrecisely");
    auto& clock = TheClock();
    clock.waitedUnits.push_back(units);
    if (IsSignalled(stop)) {
        return PreciseWait::Stopped;
    }
    if (clock.nowNs + units * 100 > clock.parkAtNs) {
        clock.parked = true;
        WaitAny({&stop}, waitForever);
        return PreciseWait::Stopped;
    }
    clock.nowNs += units * 100;
    return PreciseWait::Elapsed;
}

}  // namespace zv
