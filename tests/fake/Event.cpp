#include "fake/Event.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "fake/Calls.h"
#include "platform/Event.h"

namespace zv {

struct Event {
    bool signalled = false;
};

namespace {

struct State {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::uint32_t> asked;
    std::uint32_t shortened = 0;
    std::uint32_t held = 0;
    int live = 0;
    int signals = 0;
    bool refused = false;
};

State& TheState() {
    static State state;
    return state;
}

int FirstSignalled(std::initializer_list<Event*> events) {
    const auto* found = std::find_if(events.begin(), events.end(), [](const Event* event) { return event->signalled; });
    return found == events.end() ? waitTimedOut : static_cast<int>(found - events.begin());
}

/// Excludes the fake's own allocations from the count.
struct Uncounted {
    Uncounted() { ++fake::callDepth; }
    ~Uncounted() { --fake::callDepth; }
    Uncounted(const Uncounted&) = delete;
    Uncounted& operator=(const Uncounted&) = delete;
};

}  // namespace

namespace fake {

void ResetEvents() {
    const std::lock_guard lock(TheState().mutex);
    TheState().asked.clear();
    TheState().shortened = 0;
    TheState().held = 0;
    TheState().signals = 0;
    TheState().refused = false;
}

void ShortenWaits(std::uint32_t milliseconds) {
    const std::lock_guard lock(TheState().mutex);
    TheState().shortened = milliseconds;
}

void HoldWaits(std::uint32_t timeoutMs) {
    const std::lock_guard lock(TheState().mutex);
    TheState().held = timeoutMs;
}

std::vector<std::uint32_t> RequestedTimeouts() {
    const std::lock_guard lock(TheState().mutex);
    return TheState().asked;
}

int Signals() {
    const std::lock_guard lock(TheState().mutex);
    return TheState().signals;
}

int LiveEvents() {
    const std::lock_guard lock(TheState().mutex);
    return TheState().live;
}

void RefuseEvents(bool on) {
    const std::lock_guard lock(TheState().mutex);
    TheState().refused = on;
}

}  // namespace fake

template <>
void Closer<Event>::operator()(Event* event) const noexcept {
    const std::lock_guard lock(TheState().mutex);
    --TheState().live;
    delete event;
}

Owned<Event> MakeEvent(Result* code) {
    const Uncounted uncounted;
    const std::lock_guard lock(TheState().mutex);
    if (TheState().refused) {
        if (code != nullptr) {
            *code = ResultOf(0x800705AA);
        }
        return nullptr;
    }
    ++TheState().live;
    return Owned<Event>(new Event);
}

void Signal(Event& event) {
    const std::lock_guard lock(TheState().mutex);
    event.signalled = true;
    ++TheState().signals;
    TheState().changed.notify_all();
}

void Clear(Event& event) {
    const std::lock_guard lock(TheState().mutex);
    event.signalled = false;
}

bool IsSignalled(Event& event) {
    const std::lock_guard lock(TheState().mutex);
    return event.signalled;
}

int WaitAny(std::initializer_list<Event*> events, std::uint32_t timeoutMs) {
    const Uncounted uncounted;
    std::unique_lock lock(TheState().mutex);
    const auto any = [&] { return FirstSignalled(events) != waitTimedOut; };
    if (timeoutMs != 0 && timeoutMs != waitForever) {
        TheState().asked.push_back(timeoutMs);
    }
    if (timeoutMs == waitForever || (timeoutMs != 0 && timeoutMs == TheState().held)) {
        TheState().changed.wait(lock, any);
    } else if (timeoutMs != 0) {
        const std::uint32_t limit = TheState().shortened;
        const auto span = std::chrono::milliseconds(limit == 0 ? timeoutMs : std::min(limit, timeoutMs));
        TheState().changed.wait_until(lock, std::chrono::system_clock::now() + span, any);
    }
    return FirstSignalled(events);
}

}  // namespace zv
