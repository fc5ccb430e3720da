// Clocks and the precise wait. Any thread; a timer belongs to one thread.
#pragma once

#include <cstdint>

#include "platform/Event.h"
#include "platform/Owned.h"

namespace zv {

/// Milliseconds of a monotonic clock, for time-outs and unique names.
std::uint64_t TickMs();

/// Nanoseconds of a steady clock, for the video loop and for elapsed times.
std::int64_t SteadyNs();

/// The performance counter in units of 100 ns, for the audio path. Has the same origin as the time stamps of audio
/// packets.
std::int64_t Counter100ns();

struct LocalTime {
    int year = 0;
    int month = 0;  ///< 1 to 12
    int day = 0;    ///< 1 to 31
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;
};

LocalTime LocalNow();

/// Converts a file's time, in units of 100 ns since 1601 (UTC), to the user's time zone. Clamps a time that the system
/// cannot represent.
LocalTime LocalTimeOf(std::int64_t written);

/// Blocks the calling thread. Worker threads wait for their events instead.
void SleepMs(std::uint32_t milliseconds);

/// A one-shot high-resolution timer for the frame loop.
struct PreciseTimer;
template <>
void Closer<PreciseTimer>::operator()(PreciseTimer* timer) const noexcept;

/// Returns null if the system is out of timers.
Owned<PreciseTimer> MakePreciseTimer();

enum class PreciseWait {
    Elapsed,
    Stopped  ///< `stop` was signalled, which takes precedence if the time has elapsed too; or the wait has failed
};

/// Waits `units` of 100 ns (at least 1) or until `stop` is signalled.
PreciseWait WaitPrecisely(PreciseTimer& timer, Event& stop, std::int64_t units);

}  // namespace zv
