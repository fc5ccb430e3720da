// Manual-reset events over eventfd, which poll can wait for together with pipes, timers and processes.
#include "platform/Event.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cassert>
#include <cerrno>
#include <cstddef>
#include <new>

#include "platform/linux/posix/EventHandle.h"

namespace zv {
namespace {

constexpr std::size_t maximumEvents = 8;

int FirstReadable(std::initializer_list<Event*> events, const std::array<pollfd, maximumEvents>& entries) {
    for (std::size_t i = 0; i < events.size(); ++i) {
        if ((entries[i].revents & POLLIN) != 0) {
            static_cast<void>(events.begin()[i]->signals.load(std::memory_order_acquire));
            return static_cast<int>(i);
        }
    }
    return waitFailed;  // an event that cannot be waited for
}

}  // namespace

template <>
void Closer<Event>::operator()(Event* event) const noexcept {
    delete event;
}

Owned<Event> MakeEvent(Result* code) {
    Descriptor descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    const Result reason = ResultOfSystemError(descriptor.Held() ? ENOMEM : errno);
    Owned<Event> event(descriptor.Held() ? new (std::nothrow) Event : nullptr);
    if (event) {
        event->descriptor = std::move(descriptor);
    } else if (code != nullptr) {
        *code = reason;
    }
    return event;
}

void Signal(Event& event) {
    event.signals.fetch_add(1, std::memory_order_release);
    // Fails with EAGAIN if the counter is full; then the event is signalled already.
    eventfd_write(event.descriptor.Get(), 1);
}

void Clear(Event& event) {
    eventfd_t count = 0;
    eventfd_read(event.descriptor.Get(), &count);
}

bool IsSignalled(Event& event) { return WaitAny({&event}, 0) == 0; }

int WaitAny(std::initializer_list<Event*> events, std::uint32_t timeoutMs) {
    assert(events.size() <= maximumEvents);
    std::array<pollfd, maximumEvents> entries{};
    for (std::size_t i = 0; i < events.size(); ++i) {
        entries[i] = {events.begin()[i]->descriptor.Get(), POLLIN, 0};
    }
    const Deadline deadline(timeoutMs);
    for (;;) {
        const int ready = poll(entries.data(), events.size(), deadline.RemainingMs());
        if (ready > 0) {
            return FirstReadable(events, entries);
        }
        if (ready == 0) {
            return waitTimedOut;
        }
        if (errno != EINTR) {
            return waitFailed;
        }
    }
}

}  // namespace zv
