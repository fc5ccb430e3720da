#include "video/FramePacer.h"

#include <gtest/gtest.h>

#include <vector>

namespace zv {
namespace {

constexpr std::int64_t ms = 1'000'000;

// A clock and a wait that takes exactly the requested time.
struct World {
    std::int64_t now = 5'000 * ms;
    std::vector<std::int64_t> dueTimes;
    bool stopped = false;

    FramePacer Pacer(std::uint32_t fps) {
        return MakeFramePacer(
            fps, [this] { return now; },
            [this](std::int64_t dueTime) {
                dueTimes.push_back(dueTime);
                now += -dueTime * 100;
                return !stopped;
            });
    }
    FramePacer PacerWithoutTimer(std::uint32_t fps) {
        return MakeFramePacer(fps, [this] { return now; }, {});
    }
};

TEST(FramePacer, TheIntervalIsTruncatedToWholeNanoseconds) {
    World world;
    EXPECT_EQ(world.Pacer(30).intervalNs, 33333333);
    EXPECT_EQ(world.Pacer(60).intervalNs, 16666666);
    EXPECT_EQ(world.Pacer(120).intervalNs, 8333333);
    EXPECT_EQ(world.Pacer(240).intervalNs, 4166666);
}

TEST(FramePacer, TheFirstTickIsDueAtOnce) {
    World world;
    FramePacer pacer = world.Pacer(60);
    EXPECT_EQ(pacer.deadlineNs, 5'000 * ms);
    EXPECT_TRUE(WaitForTick(pacer));
    EXPECT_TRUE(world.dueTimes.empty());
    EXPECT_EQ(pacer.deadlineNs, 5'000 * ms + 16666666);
}

TEST(FramePacer, TheWaitIsTheRestOfTheIntervalInWholeUnits) {
    World world;
    FramePacer pacer = world.Pacer(60);
    WaitForTick(pacer);
    world.now += 6'000'000;
    WaitForTick(pacer);
    EXPECT_EQ(world.dueTimes, std::vector<std::int64_t>{-106666});  // 10666666 ns
}

TEST(FramePacer, TheShortestWaitIsOneUnit) {
    EXPECT_EQ(DueTimeOf(1), -1);
    EXPECT_EQ(DueTimeOf(99), -1);
    EXPECT_EQ(DueTimeOf(100), -1);
    EXPECT_EQ(DueTimeOf(150), -1);
    EXPECT_EQ(DueTimeOf(199), -1);
    EXPECT_EQ(DueTimeOf(200), -2);
    EXPECT_EQ(DueTimeOf(299), -2);
    EXPECT_EQ(DueTimeOf(4166666), -41666);
}

TEST(FramePacer, OneHundredAndFiftyNanosecondsLeftAt240AreOneUnit) {
    World world;
    FramePacer pacer = world.Pacer(240);
    WaitForTick(pacer);
    world.now += 4166666 - 150;
    WaitForTick(pacer);
    EXPECT_EQ(world.dueTimes, std::vector<std::int64_t>{-1});
}

TEST(FramePacer, ATickThatIsExactlyDueDoesNotWait) {
    World world;
    FramePacer pacer = world.Pacer(60);
    WaitForTick(pacer);
    world.now = pacer.deadlineNs;
    WaitForTick(pacer);
    EXPECT_TRUE(world.dueTimes.empty());
}

TEST(FramePacer, TenMinutesOfTicksKeepTheGridOfTheInterval) {
    for (const std::uint32_t fps : {30U, 60U, 120U, 240U}) {
        World world;
        FramePacer pacer = world.Pacer(fps);
        const std::int64_t start = world.now;
        const std::int64_t interval = 1'000'000'000 / static_cast<std::int64_t>(fps);
        for (std::int64_t tick = 0; tick < 600 * static_cast<std::int64_t>(fps); ++tick) {
            ASSERT_TRUE(WaitForTick(pacer));
            // The wait is cut to whole units, so a tick comes less than 100 ns early and never late.
            ASSERT_LE(world.now, start + tick * interval);
            ASSERT_GT(world.now, start + tick * interval - 100);
            world.now += interval / 3;
        }
        EXPECT_EQ(pacer.deadlineNs, start + 600 * static_cast<std::int64_t>(fps) * interval);
    }
}

TEST(FramePacer, ASecondAtThirtyComesTenNanosecondsShort) {
    World world;
    FramePacer pacer = world.Pacer(30);
    const std::int64_t start = world.now;
    for (int tick = 0; tick < 30; ++tick) {
        WaitForTick(pacer);
    }
    EXPECT_EQ(pacer.deadlineNs - start, 1'000'000'000 - 10);
}

TEST(FramePacer, APauseOf90MsIsCaughtUpBackToBack) {
    World world;
    FramePacer pacer = world.Pacer(60);
    WaitForTick(pacer);
    const std::int64_t grid = pacer.deadlineNs;
    world.now += 90 * ms;
    // Ticks are due at 16.67, 33.33, 50, 66.67 and 83.33 ms, and at once; the one at 100 ms is waited for.
    for (int tick = 0; tick < 5; ++tick) {
        WaitForTick(pacer);
        EXPECT_TRUE(world.dueTimes.empty()) << tick;
    }
    EXPECT_EQ(pacer.deadlineNs, grid + 5 * 16666666);
    WaitForTick(pacer);
    EXPECT_EQ(world.dueTimes.size(), 1U);
}

TEST(FramePacer, APauseOf150MsDropsTheBacklog) {
    World world;
    FramePacer pacer = world.Pacer(60);
    WaitForTick(pacer);
    world.now += 150 * ms;
    WaitForTick(pacer);
    EXPECT_EQ(pacer.deadlineNs, world.now);
    WaitForTick(pacer);
    EXPECT_EQ(pacer.deadlineNs, world.now + 16666666);
    EXPECT_TRUE(world.dueTimes.empty());
    WaitForTick(pacer);
    EXPECT_EQ(world.dueTimes, std::vector<std::int64_t>{-166666});
}

TEST(FramePacer, ExactlyOneHundredMillisecondsLateIsNotTooLate) {
    World world;
    FramePacer pacer = world.Pacer(60);
    world.now = pacer.deadlineNs + 16666666 + 100 * ms;
    const std::int64_t expected = pacer.deadlineNs + 16666666;
    WaitForTick(pacer);
    EXPECT_EQ(pacer.deadlineNs, expected);

    FramePacer late = world.Pacer(60);
    world.now = late.deadlineNs + 16666666 + 100 * ms + 1;
    WaitForTick(late);
    EXPECT_EQ(late.deadlineNs, world.now);
}

TEST(FramePacer, TheDroppedBacklogEndsAtAFreshReadingOfTheClock) {
    std::int64_t now = 0;
    FramePacer pacer = MakeFramePacer(
        60, [&now] { return now += 7; }, [](std::int64_t) { return true; });
    now = 500 * ms;
    WaitForTick(pacer);
    EXPECT_EQ(pacer.deadlineNs, 500 * ms + 3 * 7);  // read before the wait, for the test, for the new deadline
}

TEST(FramePacer, AStopDuringTheWaitEndsTheTick) {
    World world;
    FramePacer pacer = world.Pacer(60);
    WaitForTick(pacer);
    const std::int64_t deadline = pacer.deadlineNs;
    world.stopped = true;
    EXPECT_FALSE(WaitForTick(pacer));
    EXPECT_EQ(pacer.deadlineNs, deadline);
}

TEST(FramePacer, WithoutATimerNothingWaitsAndTheDeadlineStillAdvances) {
    World world;
    FramePacer pacer = world.PacerWithoutTimer(60);
    const std::int64_t start = world.now;
    for (int tick = 1; tick <= 100; ++tick) {
        EXPECT_TRUE(WaitForTick(pacer));
        EXPECT_EQ(pacer.deadlineNs, start + tick * std::int64_t{16666666});
    }
    EXPECT_EQ(world.now, start);
}

}  // namespace
}  // namespace zv
