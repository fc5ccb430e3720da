// The jobs whose results the user waits for. Timer 43 of the main window collects them, and runs only while one of
// them is busy. A new one is a row of the list in FastJobs.cpp. Interface thread only.
#pragma once

#include <cstdint>

namespace zv {

inline constexpr std::uintptr_t collectionTimer = 43;
inline constexpr std::uint32_t collectionPeriodMs = 16;

/// Starts the timer. Called by all code that starts a fast job.
void ArmCollectionTimer();

/// Publishes the finished jobs in the list's order. Returns true if there was one.
bool CollectFastJobs();

bool IsFastJobBusy();

// The waits of the shutdown. None has a time limit.
void WaitForFileJobs();    ///< the fast jobs that do not use the engine, in the list's order
void WaitForEngineJobs();  ///< the capture job, then the health poll

}  // namespace zv
