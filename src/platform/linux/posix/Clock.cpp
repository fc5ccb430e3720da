// All clocks are CLOCK_MONOTONIC, as are the time stamps of audio packets.
#include "platform/Clock.h"

#include <poll.h>
#include <sys/timerfd.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>

#include "platform/linux/posix/EventHandle.h"

namespace zv {

struct PreciseTimer {
    Descriptor descriptor;  ///< a timerfd: unlike the timeout of poll, it has no slack
};

template <>
void Closer<PreciseTimer>::operator()(PreciseTimer* timer) const noexcept {
    delete timer;
}

std::int64_t SteadyNs() { return MonotonicNs(); }

std::uint64_t TickMs() { return static_cast<std::uint64_t>(SteadyNs() / 1000000); }

std::int64_t Counter100ns() { return SteadyNs() / 100; }

namespace {

LocalTime ToLocalTime(const timespec& time) {
    tm local{};
    localtime_r(&time.tv_sec, &local);
    return {local.tm_year + 1900,
            local.tm_mon + 1,
            local.tm_mday,
            local.tm_hour,
            local.tm_min,
            local.tm_sec,
            static_cast<int>(time.tv_nsec / 1000000)};
}

}  // namespace

LocalTime LocalNow() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return ToLocalTime(now);
}

LocalTime LocalTimeOf(std::int64_t written) {
    constexpr std::int64_t ticksPerSecond = 10'000'000;
    constexpr std::int64_t secondsTo1970 = 11'644'473'600;
    const std::int64_t ticks = (written % ticksPerSecond + ticksPerSecond) % ticksPerSecond;
    const std::int64_t seconds = written / ticksPerSecond - (written % ticksPerSecond < 0 ? 1 : 0);
    return ToLocalTime({seconds - secondsTo1970, ticks * 100});
}

void SleepMs(std::uint32_t milliseconds) {
    const std::int64_t end = SteadyNs() + static_cast<std::int64_t>(milliseconds) * 1000000;
    const timespec until{end / 1000000000, end % 1000000000};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
}

Owned<PreciseTimer> MakePreciseTimer() {
    Descriptor descriptor(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
    if (!descriptor.Held()) {
        return nullptr;
    }
    return Owned<PreciseTimer>(new (std::nothrow) PreciseTimer{std::move(descriptor)});
}

PreciseWait WaitPrecisely(PreciseTimer& timer, Event& stop, std::int64_t units) {
    const std::int64_t ns = std::max<std::int64_t>(units, 1) * 100;
    const itimerspec setting{{0, 0}, {ns / 1000000000, ns % 1000000000}};
    if (timerfd_settime(timer.descriptor.Get(), 0, &setting, nullptr) != 0) {
        SleepMs(static_cast<std::uint32_t>(ns / 1000000));
        return IsSignalled(stop) ? PreciseWait::Stopped : PreciseWait::Elapsed;
    }
    std::array<pollfd, 2> entries = {pollfd{stop.descriptor.Get(), POLLIN, 0},
                                     pollfd{timer.descriptor.Get(), POLLIN, 0}};
    while (poll(entries.data(), entries.size(), -1) < 0 && errno == EINTR) {
    }
    if ((entries[0].revents & POLLIN) != 0) {
        static_cast<void>(stop.signals.load(std::memory_order_acquire));
        return PreciseWait::Stopped;
    }
    return (entries[1].revents & POLLIN) != 0 ? PreciseWait::Elapsed : PreciseWait::Stopped;
}

}  // namespace zv
