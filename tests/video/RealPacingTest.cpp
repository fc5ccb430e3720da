// The pacing of the loop with the system's clock and timer.
#include <gtest/gtest.h>

#include "platform/Clock.h"
#include "platform/Event.h"
#include "video/FramePacer.h"

namespace zv {
namespace {

TEST(RealPacing, TicksAt240AreWholeIntervalsAfterTheStart) {
    constexpr int ticks = 720;  // three seconds
    constexpr std::int64_t intervalNs = 4'166'666;
    constexpr std::int64_t earlyNs = 1'000'000;  // the tolerance between timer and clock
    const Owned<PreciseTimer> timer = MakePreciseTimer();
    const Owned<Event> stop = MakeEvent();
    ASSERT_TRUE(timer && stop);
    int waits = 0;
    FramePacer pacer = MakeFramePacer(240, SteadyNs, [&](std::int64_t dueTime) {
        ++waits;
        return WaitPrecisely(*timer, *stop, -dueTime) == PreciseWait::Elapsed;
    });
    const std::int64_t start = pacer.deadlineNs;
    std::int64_t due = start;
    std::int64_t dropped = 0;  // backlog that was dropped because the machine stalled
    for (int tick = 0; tick < ticks; ++tick) {
        ASSERT_TRUE(WaitForTick(pacer));
        const std::int64_t now = SteadyNs();
        ASSERT_GE(now, due - earlyNs) << "tick " << tick << " came early";
        if (pacer.deadlineNs != due + intervalNs) {
            ASSERT_GT(pacer.deadlineNs, due + intervalNs + pacerResyncNs) << "tick " << tick;
            ASSERT_LE(pacer.deadlineNs, now) << "tick " << tick;
            dropped += pacer.deadlineNs - due - intervalNs;
        }
        due = pacer.deadlineNs;
    }
    EXPECT_EQ(due, start + ticks * intervalNs + dropped);
    EXPECT_GT(waits, 0);
}

}  // namespace
}  // namespace zv
