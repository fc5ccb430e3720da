#include "platform/software/PacketClock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace zv {
namespace {

constexpr std::int64_t millisecond = 10000;
constexpr std::int64_t begin = 50000000000;

constexpr std::int64_t trueAge = 12 * millisecond;

/// The true capture time of the first frame of packet `i` of 10 ms.
std::int64_t Truth(std::size_t i) { return begin + static_cast<std::int64_t>(i) * 10 * millisecond; }

/// Stamps packets of 10 ms that arrive `trueAge` after their first frame and have a reported age of claim(i).
template <class Claim>
std::vector<std::int64_t> Stamps(std::size_t packets, Claim claim) {
    PacketClock clock;
    std::vector<std::int64_t> stamps;
    for (std::size_t i = 0; i < packets; ++i) {
        stamps.push_back(StampPacket(clock, Truth(i) + trueAge, claim(i), 480));
    }
    return stamps;
}

TEST(PacketClock, JitterOfTheReportedAgeDoesNotChangeTheStamps) {
    std::mt19937 random(7);
    std::uniform_int_distribution<std::int64_t> jitter(-millisecond, millisecond);
    const auto stamps = Stamps(60000, [&](std::size_t i) { return trueAge + (i == 0 ? 0 : jitter(random)); });
    for (std::size_t i = 0; i < stamps.size(); ++i) {
        ASSERT_EQ(stamps[i], Truth(i));
    }
}

TEST(PacketClock, ClockDriftIsCorrectedInRareSmallSteps) {
    for (const double speed : {0.9998, 1.0002}) {
        PacketClock clock;
        int steps = 0;
        std::int64_t before = 0;
        for (int i = 0; i < 60000; ++i) {
            const std::int64_t truth = begin + std::llround(i * 100000.0 * speed);
            const std::int64_t stamp = StampPacket(clock, truth + trueAge, trueAge, 480);
            ASSERT_LE(std::abs(stamp - truth), 4 * millisecond) << i;
            const std::int64_t apart = i == 0 ? 100000 : stamp - before;
            ASSERT_LE(std::abs(apart - 100000), 4 * millisecond) << i;
            steps += apart != 100000 ? 1 : 0;
            before = stamp;
        }
        // 120 ms in ten minutes, in steps of 3 ms.
        EXPECT_GE(steps, 30);
        EXPECT_LE(steps, 45);
    }
}

TEST(PacketClock, TheReportsOfASinkThatHasJustResumedAreIgnored) {
    // The reported age falls from 650 ms to the true one within 1.3 s, while packets arrive as they are captured.
    const auto stamps = Stamps(500, [](std::size_t i) {
        return trueAge + std::max<std::int64_t>(0, 650 * millisecond - static_cast<std::int64_t>(i) * 5 * millisecond);
    });
    for (std::size_t i = 0; i < stamps.size(); ++i) {
        ASSERT_LE(std::abs(stamps[i] - Truth(i)), 4 * millisecond) << i;
    }
    EXPECT_EQ(stamps[499] - stamps[300], Truth(199) - Truth(0));
}

TEST(PacketClock, ASingleWrongReportIsIgnored) {
    for (const std::int64_t stray : {-400 * millisecond, 400 * millisecond}) {
        const auto stamps = Stamps(100, [stray](std::size_t i) { return trueAge + (i >= 50 && i < 54 ? stray : 0); });
        for (std::size_t i = 0; i < stamps.size(); ++i) {
            ASSERT_EQ(stamps[i], Truth(i)) << i;
        }
    }
}

TEST(PacketClock, StampsHaveTheReportedTimeAfterAPause) {
    PacketClock clock;
    std::vector<std::int64_t> stamps;
    for (std::size_t i = 0; i < 100; ++i) {
        const std::int64_t truth = Truth(i) + (i >= 50 ? 2000 * millisecond : 0);
        stamps.push_back(StampPacket(clock, truth + trueAge, trueAge, 480));
    }
    EXPECT_EQ(stamps[53], Truth(53));
    EXPECT_EQ(stamps[54], Truth(54) + 2000 * millisecond);
    EXPECT_EQ(stamps[99], Truth(99) + 2000 * millisecond);
}

TEST(PacketClock, ABacklogAfterAStallKeepsItsStamps) {
    // No packets are read between 1 s and 6 s; then they arrive at once, each with its true age.
    PacketClock clock;
    for (std::size_t i = 0; i < 800; ++i) {
        const std::int64_t now = i >= 100 && i < 600 ? Truth(600) + trueAge : Truth(i) + trueAge;
        ASSERT_EQ(StampPacket(clock, now, now - Truth(i), 480), Truth(i)) << i;
    }
}

TEST(PacketClock, AnOlderReportIsAcceptedAfterFiveSeconds) {
    // 500 packets in a row, beginning with the second.
    const auto stamps = Stamps(600, [](std::size_t i) { return i == 0 ? trueAge : trueAge + 50 * millisecond; });
    EXPECT_EQ(stamps[499], Truth(499));
    EXPECT_EQ(stamps[500], Truth(500) - 50 * millisecond);
    EXPECT_EQ(stamps[599], Truth(599) - 50 * millisecond);
}

TEST(PacketClock, ACountInTheFutureIsCorrected) {
    PacketClock clock;
    for (int i = 0; i < 6; ++i) {  // six packets at one moment, the last beginning 50 ms from now
        ASSERT_EQ(StampPacket(clock, begin, i == 0 ? std::optional<std::int64_t>(0) : std::nullopt, 480),
                  begin + i * 10 * millisecond);
    }
    EXPECT_EQ(StampPacket(clock, begin, std::nullopt, 480), begin - 10 * millisecond);
}

TEST(PacketClock, SoundBeforePlaybackIsInTheFutureByItsLatency) {
    PacketClock clock;
    EXPECT_EQ(StampPacket(clock, begin, -20 * millisecond, 480), begin + 20 * millisecond);
    PacketClock absurd;
    EXPECT_EQ(StampPacket(absurd, begin, -60 * millisecond, 480), begin - 10 * millisecond);
}

TEST(PacketClock, PacketsOfAnyLengthWithTheSameReportAreNotCorrected) {
    // A sink that renders 523 frames at a time: 480 and 43, both available at once, the first 2 ms old.
    PacketClock clock;
    std::int64_t frames = 0;
    for (int i = 0; i < 5000; ++i) {
        const std::int64_t first = begin + frames * 625 / 3;
        const std::int64_t now = first + 2 * millisecond;
        ASSERT_EQ(StampPacket(clock, now, now - first, 480), first);
        const std::int64_t second = begin + (frames + 480) * 625 / 3;
        ASSERT_EQ(StampPacket(clock, now, now - second, 43), second);
        frames += 523;
    }
}

TEST(PacketClock, PacketsOfOddLengthsAreCountedWithoutDrift) {
    PacketClock clock;
    std::int64_t frames = 0;
    for (std::uint32_t i = 0; i < 100000; ++i) {
        const std::uint32_t length = i % 7 + 1;
        const std::int64_t truth = begin + frames * 625 / 3;
        ASSERT_EQ(StampPacket(clock, truth + trueAge, trueAge, length), truth);
        frames += length;
    }
}

TEST(PacketClock, WithoutReportsTheFirstPacketEndsNowAndTheRestIsCounted) {
    PacketClock clock;
    EXPECT_EQ(StampPacket(clock, begin, std::nullopt, 480), begin - 10 * millisecond);
    EXPECT_EQ(StampPacket(clock, begin + 13 * millisecond, std::nullopt, 480), begin);
}

}  // namespace
}  // namespace zv
