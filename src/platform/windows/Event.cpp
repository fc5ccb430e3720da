// Manual-reset events of the kernel.
#include "platform/Event.h"

#include <array>
#include <new>

#include "platform/windows/EventHandle.h"

namespace zv {

template <>
void Closer<Event>::operator()(Event* event) const noexcept {
    delete event;
}

Owned<Event> MakeEvent(Result* code) {
    Handle handle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const Result reason = handle ? ResultOfSystemError(ERROR_NOT_ENOUGH_MEMORY) : LastError();
    Owned<Event> event(handle ? new (std::nothrow) Event{std::move(handle)} : nullptr);
    if (event == nullptr && code != nullptr) {
        *code = reason;
    }
    return event;
}

void Signal(Event& event) { SetEvent(event.handle.Get()); }

void Clear(Event& event) { ResetEvent(event.handle.Get()); }

bool IsSignalled(Event& event) { return WaitForSingleObject(event.handle.Get(), 0) == WAIT_OBJECT_0; }

int WaitAny(std::initializer_list<Event*> events, std::uint32_t timeoutMs) {
    std::array<HANDLE, MAXIMUM_WAIT_OBJECTS> handles{};
    DWORD count = 0;
    for (Event* event : events) {
        handles.at(count++) = event->handle.Get();
    }
    const DWORD answer = WaitForMultipleObjects(count, handles.data(), FALSE, timeoutMs);
    if (answer == WAIT_TIMEOUT) {
        return waitTimedOut;
    }
    return answer < WAIT_OBJECT_0 + count ? static_cast<int>(answer - WAIT_OBJECT_0) : waitFailed;
}

}  // namespace zv
