// Events whose finite waits a test can shorten or hold. Records the timeouts of all waits.
#pragma once

#include <cstdint>
#include <vector>

namespace zv::fake {

void ResetEvents();

/// Limits every finite wait to this real time. 0 ends it.
void ShortenWaits(std::uint32_t milliseconds);

/// Makes waits with exactly this timeout last until one of their events is signalled. 0 ends it.
void HoldWaits(std::uint32_t timeoutMs);

/// The finite timeouts above 0 that were passed to WaitAny, in order.
std::vector<std::uint32_t> RequestedTimeouts();

/// Calls of Signal since the reset.
int Signals();

/// Events that exist.
int LiveEvents();

/// Makes MakeEvent return null.
void RefuseEvents(bool on);

}  // namespace zv::fake
