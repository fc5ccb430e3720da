#include "platform/software/PacketClock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <random>
#include <vector>

namespace zv {
namespace {

constexpr std::int64_t millisecond = 10000;
constexpr std::int64_t second = 1000 * millisecond;
constexpr std::int64_t begin = 5000 * second;
constexpr std::int64_t outputLag = 100 * millisecond;

std::int64_t Duration(std::int64_t frames) { return frames * 625 / 3; }

struct Delivered {
    std::int64_t position = 0;
    std::int64_t end = 0;
    std::int64_t firstInput = 0;  ///< the number of the packet's first sample
    std::int64_t input = 0;
    std::int64_t at = 0;  ///< when it was delivered
};

struct Arrival {
    std::int64_t time = 0;
    std::int64_t frames = 0;
};

/// Looks at a stream every 10 ms, as the audio worker does.
struct Reader {
    explicit Reader(bool rendersAhead) { clock.rendersAhead = rendersAhead; }

    void Look(std::int64_t now, std::int64_t arrived) {
        waiting += arrived;
        ObserveArrivals(clock, now, waiting, arrived);
        for (;;) {
            const PlannedPacket packet = PlanPacket(clock, waiting);
            if (packet.output == 0) {
                return;
            }
            EXPECT_LE(packet.input, waiting);
            EXPECT_EQ(packet.output % 3, 0U);
            packets.push_back({packet.position, packet.position + Duration(packet.output), inputs, packet.input, now});
            inputs += packet.input;
            waiting -= packet.input;
            FinishPacket(clock, packet);
        }
    }
    void ReadAll(const std::vector<Arrival>& arrivals, const std::function<bool(std::int64_t)>& looks = nullptr) {
        std::size_t next = 0;
        std::int64_t missed = 0;
        for (std::int64_t now = begin + 3 * millisecond; next < arrivals.size(); now += 10 * millisecond) {
            for (; next < arrivals.size() && arrivals[next].time <= now; ++next) {
                missed += arrivals[next].frames;
            }
            if (!looks || looks(now)) {
                Look(now, missed);
                missed = 0;
            }
        }
    }

    /// The packets that do not begin at the end of the packet before them.
    std::vector<std::size_t> Breaks() const {
        std::vector<std::size_t> breaks;
        for (std::size_t i = 1; i < packets.size(); ++i) {
            if (packets[i].position != packets[i - 1].end) {
                breaks.push_back(i);
            }
        }
        return breaks;
    }
    std::int64_t OldestAtDelivery() const {
        std::int64_t oldest = 0;
        for (const Delivered& packet : packets) {
            oldest = std::max(oldest, packet.at - packet.position);
        }
        return oldest;
    }
    bool ChangesNothing() const {
        return std::all_of(packets.begin(), packets.end(), [](const Delivered& packet) {
            return packet.end - packet.position == Duration(packet.input);
        });
    }
    void ExpectWholeAndInTime() const {
        ASSERT_FALSE(packets.empty());
        EXPECT_TRUE(Breaks().empty()) << "at packet " << Breaks().front() << " of " << packets.size();
        EXPECT_LT(OldestAtDelivery(), outputLag);
    }

    PacketClock clock;
    std::int64_t waiting = 0;
    std::int64_t inputs = 0;
    std::vector<Delivered> packets;
};

/// Fragments of 20 ms, each delivered `delay(i)` after its last sample was captured, in order.
std::vector<Arrival> Fragments(std::size_t count, const std::function<std::int64_t(std::size_t)>& delay,
                               double speed = 1) {
    std::vector<Arrival> arrivals;
    for (std::size_t i = 0; i < count; ++i) {
        const auto captured = static_cast<std::int64_t>(static_cast<double>((i + 1) * 200000) / speed);
        const std::int64_t time = begin + captured + delay(i);
        arrivals.push_back({arrivals.empty() ? time : std::max(time, arrivals.back().time), 960});
    }
    return arrivals;
}

constexpr std::int64_t usualDelay = 2 * millisecond;

TEST(PacketClock, FragmentsThatArriveRegularlyAreDeliveredUnchanged) {
    for (const bool monitor : {false, true}) {
        Reader reader(monitor);
        reader.ReadAll(Fragments(30000, [](std::size_t) { return usualDelay; }));
        reader.ExpectWholeAndInTime();
        EXPECT_TRUE(reader.ChangesNothing());
        EXPECT_GE(reader.inputs, 29998 * 960);
    }
}

TEST(PacketClock, TheSampleThatHasJustArrivedIsCurrent) {
    Reader microphone(false);
    microphone.ReadAll(Fragments(100, [](std::size_t) { return usualDelay; }));
    EXPECT_NEAR(static_cast<double>(microphone.packets[50].end - microphone.packets[50].at), 0, 20.0 * millisecond);
    // A sink plays sound 20 ms after its monitor has delivered it.
    Reader monitor(true);
    monitor.ReadAll(Fragments(100, [](std::size_t) { return usualDelay; }));
    EXPECT_EQ(monitor.packets[50].position - microphone.packets[50].position, 20 * millisecond);
}

TEST(PacketClock, LateFragmentsKeepTheirPositions) {
    // Both processors are busy: most fragments are late by up to 25 ms, each 50th by 70 ms.
    std::mt19937 random(7);
    std::uniform_int_distribution<std::int64_t> jitter(0, 25 * millisecond);
    Reader reader(true);
    reader.ReadAll(Fragments(3000, [&](std::size_t i) { return i % 50 == 49 ? 70 * millisecond : jitter(random); }));
    reader.ExpectWholeAndInTime();
}

TEST(PacketClock, ABacklogThatIsSentInTwoPartsIsNoGap) {
    // The server was interrupted while it sent 200 ms: after 20 ms of sound for 40 ms, or after 60 ms for 20 ms.
    struct Row {
        std::size_t parts;
        std::int64_t pause;
    };
    for (const Row& row : {Row{1, 40 * millisecond}, Row{3, 20 * millisecond}}) {
        std::vector<Arrival> arrivals = Fragments(100, [](std::size_t) { return usualDelay; });
        const std::int64_t sent = arrivals[60].time;
        for (std::size_t i = 50; i < 63; ++i) {
            arrivals[i].time = sent + (i < 50 + row.parts ? 0 : row.pause);
        }
        Reader reader(true);
        reader.ReadAll(arrivals);
        EXPECT_TRUE(reader.Breaks().empty()) << row.parts;
    }
}

TEST(PacketClock, ABufferThatASinkRendersAheadAtItsStartIsNoGap) {
    // A sink behind a network renders 116 ms at once, nothing for 172 ms, and from then on as much as is played.
    std::vector<Arrival> arrivals{{begin + 36 * millisecond, 5596}};
    for (int i = 0; i < 6000; ++i) {
        arrivals.push_back({begin + 208 * millisecond + i * 10 * millisecond, 480});
    }
    Reader reader(true);
    reader.ReadAll(arrivals);
    EXPECT_TRUE(reader.Breaks().empty());
    // Only the age of the first packet exceeds 100 ms.
    EXPECT_LT(reader.packets[10].at - reader.packets[10].position, outputLag);
}

TEST(PacketClock, ASinkThatRendersABufferAheadLaterIsNotCorrected) {
    std::vector<Arrival> arrivals = Fragments(400, [](std::size_t) { return usualDelay; });
    for (std::size_t i = 200; i < 210; ++i) {
        arrivals[i].time = arrivals[200].time;
    }
    Reader reader(true);
    reader.ReadAll(arrivals);
    reader.ExpectWholeAndInTime();
    EXPECT_TRUE(reader.ChangesNothing());
}

/// Fragments without `gap` before the 101st.
std::vector<Arrival> FragmentsWithGap(std::int64_t gap) {
    return Fragments(400, [gap](std::size_t i) { return usualDelay + (i < 100 ? 0 : gap); });
}

TEST(PacketClock, AGapIsWhereItWas) {
    for (const bool monitor : {false, true}) {
        for (const std::int64_t gap : {50 * millisecond, 73 * millisecond, 200 * millisecond, 5 * second}) {
            Reader reader(monitor);
            reader.ReadAll(FragmentsWithGap(gap));
            const auto breaks = reader.Breaks();
            ASSERT_EQ(breaks.size(), 1U) << gap;
            const Delivered& after = reader.packets[breaks[0]];
            EXPECT_EQ(after.firstInput, 96000);
            EXPECT_NEAR(static_cast<double>(after.position - reader.packets[breaks[0] - 1].end),
                        static_cast<double>(gap), 10.0 * millisecond);
            EXPECT_LT(reader.OldestAtDelivery(), outputLag) << gap;
        }
    }
}

TEST(PacketClock, GapsDoNotAccumulateAnError) {
    // A gap of 50 ms each second, for a minute.
    Reader reader(true);
    reader.ReadAll(Fragments(
        3000, [](std::size_t i) { return usualDelay + static_cast<std::int64_t>(i / 50) * 50 * millisecond; }));
    EXPECT_EQ(reader.Breaks().size(), 59U);
    const Delivered& last = reader.packets.back();
    EXPECT_NEAR(static_cast<double>(last.end - last.at), 10.0 * millisecond, 25.0 * millisecond);
    EXPECT_LT(reader.OldestAtDelivery(), outputLag);
}

TEST(PacketClock, DriftIsCorrectedByAFrameInAPacket) {
    for (const double speed : {0.9998, 1.0002}) {
        Reader reader(false);
        reader.ReadAll(Fragments(
            30000, [](std::size_t) { return usualDelay; }, speed));  // 10 minutes: 120 ms
        reader.ExpectWholeAndInTime();
        std::int64_t corrected = 0;
        for (const Delivered& packet : reader.packets) {
            const std::int64_t change = packet.end - packet.position - Duration(packet.input);
            ASSERT_LE(std::abs(change), 209) << "more than a frame";
            ASSERT_TRUE(change == 0 || packet.input >= 480);
            ASSERT_NEAR(static_cast<double>(packet.end - packet.at), 0, 35.0 * millisecond);
            corrected += change;
        }
        EXPECT_NEAR(static_cast<double>(corrected), speed < 1 ? 1200000 : -1200000, 250000);
    }
}

TEST(PacketClock, ALatencyThatGrowsByThirtyMillisecondsIsCorrectedWithoutABreak) {
    Reader reader(true);
    reader.ReadAll(Fragments(6000, [](std::size_t i) { return usualDelay + (i < 100 ? 0 : 30 * millisecond); }));
    reader.ExpectWholeAndInTime();
    const Delivered& last = reader.packets.back();
    EXPECT_NEAR(static_cast<double>(last.end - last.at), 10.0 * millisecond, 25.0 * millisecond);
}

TEST(PacketClock, AReaderThatStallsKeepsThePositions) {
    for (const std::int64_t stall : {100 * millisecond, 5 * second}) {
        Reader reader(true);
        reader.ReadAll(Fragments(600, [](std::size_t) { return usualDelay; }),
                       [stall](std::int64_t now) { return now < begin + second || now >= begin + second + stall; });
        EXPECT_TRUE(reader.Breaks().empty());
        EXPECT_TRUE(reader.ChangesNothing());
    }
}

TEST(PacketClock, ABacklogAtTheStartOfAMicrophoneIsOld) {
    // A second of samples that the device had kept arrives in three parts.
    std::vector<Arrival> arrivals{{begin, 960}, {begin + 20 * millisecond, 960}, {begin + 40 * millisecond, 48000}};
    for (int i = 0; i < 500; ++i) {
        arrivals.push_back({begin + 60 * millisecond + i * 20 * millisecond, 960});
    }
    Reader reader(false);
    reader.ReadAll(arrivals);
    ASSERT_EQ(reader.Breaks().size(), 1U);
    EXPECT_LT(reader.packets[reader.Breaks()[0]].position, begin - 900 * millisecond);
    const Delivered& last = reader.packets.back();
    EXPECT_NEAR(static_cast<double>(last.end - last.at), 0, 20.0 * millisecond);
}

TEST(PacketClock, FragmentsOfAnyLengthAreWhole) {
    // A null sink sends what it has rendered: 480 and 43 frames, 1 frame, 959 frames.
    std::vector<Arrival> arrivals;
    std::int64_t frames = 0;
    for (std::size_t i = 0; frames < 480000; ++i) {
        constexpr std::array<std::int64_t, 4> lengths{480, 43, 1, 959};
        frames += lengths[i % 4];
        arrivals.push_back({begin + Duration(frames) + usualDelay, lengths[i % 4]});
    }
    Reader reader(true);
    reader.ReadAll(arrivals);
    reader.ExpectWholeAndInTime();
    EXPECT_TRUE(reader.ChangesNothing());
}

TEST(PacketClock, ALookWithoutArrivalsChangesNothing) {
    Reader reader(true);
    reader.Look(begin, 0);
    EXPECT_FALSE(reader.clock.anchored);
    reader.ReadAll(Fragments(10, [](std::size_t) { return usualDelay; }));
    const std::int64_t lateness = reader.clock.lateness;
    const std::size_t packets = reader.packets.size();
    for (int i = 0; i < 100; ++i) {
        reader.Look(begin + second + i * 10 * millisecond, 0);
    }
    EXPECT_EQ(reader.clock.lateness, lateness);
    EXPECT_EQ(reader.packets.size(), packets);
}

TEST(PacketClock, ACorrectedToneHasNoClick) {
    const auto tone = [](double frame) {
        return static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * frame / 48));
    };
    for (const std::size_t length : {958U, 959U, 961U, 962U}) {
        std::vector<StereoSample> input(length);
        for (std::size_t i = 0; i < length; ++i) {
            input[i] = {tone(static_cast<double>(i)), -tone(static_cast<double>(i))};
        }
        std::vector<StereoSample> output(960);
        CorrectLength(input, output);
        for (std::size_t i = 0; i < 960; ++i) {
            const double at = static_cast<double>(i) * static_cast<double>(length) / 960;
            ASSERT_NEAR(output[i].left, tone(at), 0.002) << i << " of " << length;
            ASSERT_EQ(output[i].right, -output[i].left);
        }
    }
}

}  // namespace
}  // namespace zv
