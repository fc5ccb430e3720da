// The discipline by which the interface reaches the engine without ever blocking on it.
//
// Every blocking operation of the engine runs as a job on a worker; there is at most one job; a health poll runs only
// while there is no job, and a job takes a poll in flight over and waits for it. So exactly one worker at a time
// holds the engine. Results come back through slots that the main window's timers look into. Interface thread only.
#pragma once

#include <cstdint>
#include <functional>

#include "core/Text.h"

namespace zv {

inline constexpr std::uintptr_t housekeepingTimer = 42;
inline constexpr std::uint32_t housekeepingPeriodMs = 500;
inline constexpr std::uintptr_t collectionTimer = 43;  ///< runs only while there is something to wait for
inline constexpr std::uint32_t collectionPeriodMs = 16;

/// The one gate for every message to the user: the status line, and the notification that its words call for.
void ShowStatus(const Text& text);

/// Runs a blocking operation of the engine on a worker. It answers the text to show. Refused, with a message, while
/// the slot is busy.
void CaptureJob(std::function<Text()> function);

/// Shows and logs the result of a finished job and empties its slot. False when there is none.
bool CollectCaptureJob();

/// One tick of the health poll: takes a finished result over and starts the next poll, unless one is in flight or a
/// job holds the engine.
void TickHealthPoll();

}  // namespace zv
