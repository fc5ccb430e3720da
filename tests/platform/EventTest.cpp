#include "platform/Event.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "platform/Clock.h"
#include "support/Eventually.h"

namespace zv {
namespace {

using support::generousMs;

TEST(Event, IsNotSignalledAtFirst) {
    const Owned<Event> event = MakeEvent();
    ASSERT_TRUE(event);
    EXPECT_FALSE(IsSignalled(*event));
    EXPECT_EQ(WaitAny({event.get()}, 0), waitTimedOut);
}

TEST(Event, StaysSignalledUntilItIsCleared) {
    const Owned<Event> event = MakeEvent();
    Signal(*event);
    Signal(*event);
    EXPECT_TRUE(IsSignalled(*event));
    EXPECT_EQ(WaitAny({event.get()}, 0), 0);
    EXPECT_EQ(WaitAny({event.get()}, waitForever), 0);
    Clear(*event);
    EXPECT_FALSE(IsSignalled(*event));
    Clear(*event);
    EXPECT_FALSE(IsSignalled(*event));
    Signal(*event);
    EXPECT_TRUE(IsSignalled(*event));
}

TEST(Event, AWaitReturnsTheFirstSignalledEventOfTheList) {
    const Owned<Event> first = MakeEvent();
    const Owned<Event> second = MakeEvent();
    const Owned<Event> third = MakeEvent();
    Signal(*third);
    EXPECT_EQ(WaitAny({first.get(), second.get(), third.get()}, 0), 2);
    Signal(*second);
    EXPECT_EQ(WaitAny({first.get(), second.get(), third.get()}, 0), 1);
    Signal(*first);
    EXPECT_EQ(WaitAny({first.get(), second.get(), third.get()}, waitForever), 0);
}

TEST(Event, AWaitSupportsEightEvents) {
    std::vector<Owned<Event>> events;
    for (int i = 0; i < 8; ++i) {
        events.push_back(MakeEvent());
        ASSERT_TRUE(events.back());
    }
    Signal(*events[7]);
    EXPECT_EQ(WaitAny({events[0].get(), events[1].get(), events[2].get(), events[3].get(), events[4].get(),
                       events[5].get(), events[6].get(), events[7].get()},
                      generousMs),
              7);
}

TEST(Event, AWaitEndsAfterItsTimeoutAndNotBefore) {
    const Owned<Event> event = MakeEvent();
    const std::int64_t begin = SteadyNs();
    EXPECT_EQ(WaitAny({event.get()}, 40), waitTimedOut);
    // The wait may be one tick of the system's coarse clock shorter.
    EXPECT_GE(SteadyNs() - begin, 20'000'000);
}

TEST(Event, ASignalEndsAWaitOnAnotherThreadAndPublishesEarlierWrites) {
    const Owned<Event> event = MakeEvent();
    int written = 0;
    std::thread signaller([&] {
        SleepMs(20);
        written = 4711;
        Signal(*event);
    });
    EXPECT_EQ(WaitAny({event.get()}, waitForever), 0);
    EXPECT_EQ(written, 4711);
    signaller.join();
}

TEST(Event, ReleasesAllWaitingThreads) {
    const Owned<Event> event = MakeEvent();
    std::atomic<int> released{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i) {
        waiters.emplace_back([&] { released += WaitAny({event.get()}, generousMs) == 0 ? 1 : 0; });
    }
    Signal(*event);
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(released, 4);
}

}  // namespace
}  // namespace zv
