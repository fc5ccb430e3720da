// Manual-reset events: signalled from any thread, waited for by any number of threads, cleared explicitly.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "platform/Owned.h"
#include "platform/Result.h"

namespace zv {

struct Event;
template <>
void Closer<Event>::operator()(Event* event) const noexcept;

/// Makes an event that is not signalled. Returns null if the system is out of handles; `code` then receives the reason.
Owned<Event> MakeEvent(Result* code = nullptr);

void Signal(Event& event);
void Clear(Event& event);
bool IsSignalled(Event& event);

inline constexpr std::uint32_t waitForever = 0xFFFFFFFFU;
inline constexpr int waitTimedOut = -1;
inline constexpr int waitFailed = -2;  ///< the system has refused to wait

/// Waits until an event is signalled. Returns the index of the first signalled event in the list, waitTimedOut or
/// waitFailed. Does not wait if the timeout is 0.
int WaitAny(std::initializer_list<Event*> events, std::uint32_t timeoutMs);

}  // namespace zv
