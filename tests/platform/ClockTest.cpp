#include "platform/Clock.h"

#include <gtest/gtest.h>

#include <ctime>
#include <limits>
#include <thread>

namespace zv {
namespace {

TEST(Clock, TheThreeMonotonicClocksRunAtTheSameRate) {
    const std::uint64_t tick = TickMs();
    const std::int64_t steady = SteadyNs();
    const std::int64_t counter = Counter100ns();
    SleepMs(200);
    const std::int64_t steadyMs = (SteadyNs() - steady) / 1'000'000;
    const std::int64_t counterMs = (Counter100ns() - counter) / 10'000;
    const auto tickMs = static_cast<std::int64_t>(TickMs() - tick);
    EXPECT_GE(steadyMs, 180);
    EXPECT_GE(counterMs, steadyMs - 20);
    EXPECT_GE(tickMs, steadyMs - 40);
    // They are read one after the other. Only a wrong unit makes a larger difference than a stalled machine.
    EXPECT_LE(counterMs, steadyMs + 5000);
    EXPECT_LE(tickMs, counterMs + 5000);
}

TEST(Clock, NoClockRunsBackwards) {
    std::int64_t steady = SteadyNs();
    std::int64_t counter = Counter100ns();
    for (int i = 0; i < 10000; ++i) {
        const std::int64_t nextSteady = SteadyNs();
        const std::int64_t nextCounter = Counter100ns();
        ASSERT_GE(nextSteady, steady);
        ASSERT_GE(nextCounter, counter);
        steady = nextSteady;
        counter = nextCounter;
    }
}

TEST(Clock, LocalTimeIsTheTimeOfTheUsersZone) {
    const std::time_t before = std::time(nullptr);
    const LocalTime now = LocalNow();
    const std::time_t after = std::time(nullptr);
    std::tm fields{};
    fields.tm_year = now.year - 1900;
    fields.tm_mon = now.month - 1;
    fields.tm_mday = now.day;
    fields.tm_hour = now.hour;
    fields.tm_min = now.minute;
    fields.tm_sec = now.second;
    fields.tm_isdst = -1;
    const std::time_t answered = std::mktime(&fields);
    EXPECT_GE(answered, before - 1);
    EXPECT_LE(answered, after + 1);
    EXPECT_GE(now.millisecond, 0);
    EXPECT_LE(now.millisecond, 999);
}

TEST(Clock, AFilesTimeIsConvertedToTheUsersZone) {
    constexpr std::int64_t secondsTo1970 = 11'644'473'600;
    // 15 January, 1 April and 15 July 2021, and 31 December 2019, around midnight UTC.
    for (const std::int64_t seconds : {1610668800, 1617235199, 1626307200, 1577836799}) {
        const std::time_t time = seconds;
        const std::tm wanted = *std::localtime(&time);
        const LocalTime local = LocalTimeOf((seconds + secondsTo1970) * 10'000'000 + 5'670'000);
        EXPECT_EQ(local.year, wanted.tm_year + 1900);
        EXPECT_EQ(local.month, wanted.tm_mon + 1);
        EXPECT_EQ(local.day, wanted.tm_mday);
        EXPECT_EQ(local.hour, wanted.tm_hour);
        EXPECT_EQ(local.minute, wanted.tm_min);
        EXPECT_EQ(local.second, wanted.tm_sec);
        EXPECT_EQ(local.millisecond, 567);
    }
}

TEST(Clock, ConvertsEveryTimeThatAFileCanHave) {
    constexpr std::int64_t day = 864'000'000'000;
    EXPECT_EQ(LocalTimeOf(100 * day).year, 1601);
    EXPECT_EQ(LocalTimeOf(116'444'736'000'000'000 - 100 * day).year, 1969);
    for (const std::int64_t written :
         {std::numeric_limits<std::int64_t>::min(), std::int64_t{-1}, std::numeric_limits<std::int64_t>::max()}) {
        const LocalTime local = LocalTimeOf(written);
        EXPECT_GE(local.month, 1) << written;
        EXPECT_LE(local.month, 12) << written;
        EXPECT_GE(local.day, 1) << written;
        EXPECT_LE(local.day, 31) << written;
    }
}

TEST(PreciseTimer, WaitsAtLeastTheRequestedTime) {
    const Owned<PreciseTimer> timer = MakePreciseTimer();
    const Owned<Event> stop = MakeEvent();
    ASSERT_TRUE(timer);
    for (const std::int64_t units : {1, 5'000, 166'667}) {
        const std::int64_t begin = SteadyNs();
        EXPECT_EQ(WaitPrecisely(*timer, *stop, units), PreciseWait::Elapsed);
        EXPECT_GE(SteadyNs() - begin, units * 100 - 1'000'000) << units;
    }
}

TEST(PreciseTimer, AWaitOfZeroOrLessIsTheShortestWait) {
    const Owned<PreciseTimer> timer = MakePreciseTimer();
    const Owned<Event> stop = MakeEvent();
    EXPECT_EQ(WaitPrecisely(*timer, *stop, 0), PreciseWait::Elapsed);
    EXPECT_EQ(WaitPrecisely(*timer, *stop, -166'667), PreciseWait::Elapsed);
}

TEST(PreciseTimer, AnEarlierStopEndsAnyWait) {
    const Owned<PreciseTimer> timer = MakePreciseTimer();
    const Owned<Event> stop = MakeEvent();
    Signal(*stop);
    EXPECT_EQ(WaitPrecisely(*timer, *stop, 1), PreciseWait::Stopped);
    EXPECT_EQ(WaitPrecisely(*timer, *stop, 36'000'000'000), PreciseWait::Stopped);
}

TEST(PreciseTimer, AStopFromAnotherThreadEndsALongWait) {
    const Owned<PreciseTimer> timer = MakePreciseTimer();
    const Owned<Event> stop = MakeEvent();
    std::thread stopper([&] {
        SleepMs(20);
        Signal(*stop);
    });
    EXPECT_EQ(WaitPrecisely(*timer, *stop, 36'000'000'000), PreciseWait::Stopped);
    stopper.join();
}

TEST(PreciseTimer, AStoppedTimerCanBeUsedAgain) {
    const Owned<PreciseTimer> timer = MakePreciseTimer();
    const Owned<Event> stop = MakeEvent();
    Signal(*stop);
    EXPECT_EQ(WaitPrecisely(*timer, *stop, 10'000), PreciseWait::Stopped);
    Clear(*stop);
    EXPECT_EQ(WaitPrecisely(*timer, *stop, 10'000), PreciseWait::Elapsed);
    EXPECT_EQ(WaitPrecisely(*timer, *stop, 10'000), PreciseWait::Elapsed);
}

}  // namespace
}  // namespace zv
