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

/// A new event, not signalled. Null if the system is out of handles; `code` then receives the reason.
Owned<Event> MakeEvent(Result* code = nullptr);

void Signal(Event& event);
void Clear(Event& event);
bool IsSignalled(Event& event);

inline constexpr std::uint32_t waitForever = 0xFFFFFFFFU;
inline constexpr int waitTimedOut = -1;

/// The index of the first signalled event in the list, or waitTimedOut. A timeout of 0 does not wait.
int WaitAny(std::initializer_list<Event*> events, std::uint32_t timeoutMs);

}  // namespace zv
