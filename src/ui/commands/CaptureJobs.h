// Runs the engine's blocking operations on workers, so that the interface does not wait.
//
// Every blocking operation is a job on a worker. At most one job runs at a time. A health poll starts only while there
// is no job; a job that starts waits for the running poll and drops its result. So one worker at a time uses the
// engine. The main window's timers poll the slots for results. Interface thread only.
#pragma once

#include <cstdint>
#include <functional>

#include "core/Text.h"

namespace zv {

inline constexpr std::uintptr_t housekeepingTimer = 42;  ///< of the main window
inline constexpr std::uint32_t housekeepingPeriodMs = 500;

/// Runs a blocking operation of the engine on a worker. `function` returns the text to show. Refused with a status
/// while the slot is busy, and once the main window is being destroyed.
void CaptureJob(std::function<Text()> function);

/// Shows and logs the result of a finished job, empties its slot and refreshes the library. Returns false if no job is
/// finished.
bool CollectCaptureJob();

/// One tick of the health poll: applies a finished result, and starts the next poll unless a poll or a job runs.
void TickHealthPoll();

}  // namespace zv
