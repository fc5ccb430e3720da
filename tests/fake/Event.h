// Events whose finite waits a test can shorten or hold, and which record the time-outs that were asked for.
#pragma once

#include <cstdint>
#include <vector>

namespace zv::fake {

void ResetEvents();

/// A finite wait lasts at most this long in real time, whatever was asked. 0 ends it.
void ShortenWaits(std::uint32_t milliseconds);

/// A wait with exactly this time-out lasts until one of its events is signalled. 0 ends it.
void HoldWaits(std::uint32_t timeoutMs);

/// The finite time-outs other than 0 that WaitAny was given, in order.
std::vector<std::uint32_t> RequestedTimeouts();

/// Calls of Signal since the reset.
int Signals();

/// Events that exist.
int LiveEvents();

/// Whether MakeEvent answers null.
void RefuseEvents(bool on);

}  // namespace zv::fake
