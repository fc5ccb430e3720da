// SteadyNs and Counter100ns read the performance counter, which is also the clock of the time stamps of audio packets.
#include "platform/Clock.h"

#include <algorithm>
#include <array>
#include <new>

#include "platform/windows/EventHandle.h"

namespace zv {
namespace {

/// The counter in units of 1 / `perSecond` seconds. No intermediate result overflows.
std::int64_t CounterIn(std::int64_t perSecond) {
    static const std::int64_t frequency = [] {
        LARGE_INTEGER value{};
        QueryPerformanceFrequency(&value);
        return std::max<std::int64_t>(value.QuadPart, 1);
    }();
    LARGE_INTEGER counter{};
    QueryPerformanceCounter(&counter);
    const std::int64_t seconds = counter.QuadPart / frequency;
    const std::int64_t rest = counter.QuadPart % frequency;
    return seconds * perSecond + rest * perSecond / frequency;
}

LocalTime ToLocalTime(const SYSTEMTIME& time) {
    return {time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond, time.wMilliseconds};
}

}  // namespace

struct PreciseTimer {
    Handle handle;
};

template <>
void Closer<PreciseTimer>::operator()(PreciseTimer* timer) const noexcept {
    delete timer;
}

std::uint64_t TickMs() { return GetTickCount64(); }

std::int64_t SteadyNs() { return CounterIn(1'000'000'000); }

std::int64_t Counter100ns() { return CounterIn(10'000'000); }

LocalTime LocalNow() {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return ToLocalTime(now);
}

LocalTime LocalTimeOf(std::int64_t written) {
    // The latest time that FileTimeToSystemTime accepts is in the year 30827.
    constexpr std::int64_t latest = 0x7FFF'35F4'F06C'58F0;
    ULARGE_INTEGER ticks{};
    ticks.QuadPart = static_cast<ULONGLONG>(std::clamp<std::int64_t>(written, 0, latest));
    const FILETIME time{ticks.LowPart, ticks.HighPart};
    SYSTEMTIME utc{};
    SYSTEMTIME local{};
    FileTimeToSystemTime(&time, &utc);
    return ToLocalTime(SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local) != 0 ? local : utc);
}

void SleepMs(std::uint32_t milliseconds) { Sleep(milliseconds); }

Owned<PreciseTimer> MakePreciseTimer() {
    Handle handle(CreateWaitableTimerExW(nullptr, nullptr, CREATE_WAITABLE_TIMER_HIGH_RESOLUTION, TIMER_ALL_ACCESS));
    if (!handle) {
        handle = Handle(CreateWaitableTimerW(nullptr, FALSE, nullptr));
    }
    return Owned<PreciseTimer>(handle ? new (std::nothrow) PreciseTimer{std::move(handle)} : nullptr);
}

PreciseWait WaitPrecisely(PreciseTimer& timer, Event& stop, std::int64_t units) {
    LARGE_INTEGER due{};
    due.QuadPart = -std::max<std::int64_t>(units, 1);
    if (!SetWaitableTimer(timer.handle.Get(), &due, 0, nullptr, nullptr, FALSE)) {
        // A timer that could not be set never fires, so the wait uses a timeout instead.
        const auto milliseconds = static_cast<DWORD>(std::max<std::int64_t>(units, 1) / 10'000);
        return WaitForSingleObject(stop.handle.Get(), milliseconds) == WAIT_TIMEOUT ? PreciseWait::Elapsed
                                                                                    : PreciseWait::Stopped;
    }
    const std::array<HANDLE, 2> handles = {stop.handle.Get(), timer.handle.Get()};
    return WaitForMultipleObjects(2, handles.data(), FALSE, INFINITE) == WAIT_OBJECT_0 + 1 ? PreciseWait::Elapsed
                                                                                           : PreciseWait::Stopped;
}

}  // namespace zv
