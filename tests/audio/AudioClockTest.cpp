#include "audio/AudioClock.h"

#include <gtest/gtest.h>

#include "audio/AudioMix.h"

namespace zv {
namespace {

constexpr std::int64_t start = 123456789012345;
constexpr std::int64_t millisecond = 10000;

TEST(AudioClock, NothingIsDueInTheFirstHundredMilliseconds) {
    EXPECT_EQ(TargetFrame(start, start), -4800);
    EXPECT_EQ(TargetFrame(start + 50 * millisecond, start), -2400);
    EXPECT_EQ(TargetFrame(start + 100 * millisecond, start), 0);
}

TEST(AudioClock, TheFirstBlockIsDueAtHundredAndTenMilliseconds) {
    const AudioMix mix;
    EXPECT_FALSE(BlockIsDue(mix, TargetFrame(start + 110 * millisecond - 1, start)));
    EXPECT_TRUE(BlockIsDue(mix, TargetFrame(start + 110 * millisecond, start)));
}

TEST(AudioClock, TheTargetIsTruncatedTowardZeroOnBothSides) {
    // 208 units are 0.9984 frames, 209 are 1.0032.
    EXPECT_EQ(TargetFrame(start + outputLag + 208, start), 0);
    EXPECT_EQ(TargetFrame(start + outputLag + 209, start), 1);
    EXPECT_EQ(TargetFrame(start + outputLag - 208, start), 0);
    EXPECT_EQ(TargetFrame(start + outputLag - 209, start), -1);
}

TEST(AudioClock, ATargetStaysExactAfterAHundredDays) {
    constexpr std::int64_t seconds = 100 * 86400;
    EXPECT_EQ(TargetFrame(start + outputLag + seconds * 10000000, start), seconds * 48000);
}

TEST(AudioClock, TenMillisecondsAt44100HzBecome480Frames) {
    const FrameRange range = PacketRange(start, start, 441, 44100);
    EXPECT_EQ(range.begin, 0);
    EXPECT_EQ(range.end, 480);
}

TEST(AudioClock, APacketBeforeTheStartHasNegativeFrames) {
    const FrameRange range = PacketRange(start - 20 * millisecond, start, 480, 48000);
    EXPECT_EQ(range.begin, -960);
    EXPECT_EQ(range.end, -480);
}

TEST(AudioClock, BothEndsAreRoundedToTheNearestFrame) {
    // 104 units are 0.4992 frames, 105 are 0.504.
    EXPECT_EQ(PacketRange(start + 104, start, 480, 48000).begin, 0);
    EXPECT_EQ(PacketRange(start + 105, start, 480, 48000).begin, 1);
    EXPECT_EQ(PacketRange(start + 105, start, 480, 48000).end, 481);
    EXPECT_EQ(PacketRange(start - 105, start, 480, 48000).begin, -1);
    EXPECT_EQ(PacketRange(start - 105, start, 480, 48000).end, 479);
    // Half a frame of length at time 0 rounds away from zero: 1 frame at 96 kHz.
    EXPECT_EQ(PacketRange(start, start, 1, 96000).end, 1);
    EXPECT_EQ(PacketRange(start, start, 1, 192000).end, 0);
}

TEST(AudioClock, TheEndIsRoundedAndNotTheLength) {
    // 100 frames at 44100 Hz are 108.84 frames; from 0.6 on they end at 109.44, and not at 1 + 109.
    const FrameRange range = PacketRange(start + 125, start, 100, 44100);
    EXPECT_EQ(range.begin, 1);
    EXPECT_EQ(range.end, 109);
}

TEST(AudioClock, PacketsWithContinuousStampsTileFromAnyOffset) {
    struct Device {
        std::uint32_t rate, frames;
        std::int64_t length;  // of a packet in 100 ns, without a remainder
    };
    for (const Device& device : {Device{22050, 441, 200000}, {44100, 441, 100000}, {48000, 480, 100000}}) {
        // 625 units are 3 frames, so the offsets cover every position between two frames.
        for (std::int64_t offset = 0; offset < 625; ++offset) {
            std::int64_t stamp = start + offset;
            std::int64_t end = PacketRange(stamp, start, 0, device.rate).begin;
            for (int packet = 0; packet < 100; ++packet) {
                const FrameRange range = PacketRange(stamp, start, device.frames, device.rate);
                ASSERT_EQ(range.begin, end) << device.rate << " Hz, offset " << offset << ", packet " << packet;
                end = range.end;
                stamp += device.length;
            }
        }
    }
}

TEST(AudioClock, AnAbsurdStampFromADriverDoesNotOverflow) {
    const FrameRange far = PacketRange(INT64_MIN, INT64_MAX, 480, 48000);
    EXPECT_LE(far.begin, far.end);
    const FrameRange past = PacketRange(INT64_MIN, 0, 480, 48000);
    EXPECT_LT(past.end, 0);
    const FrameRange long_ = PacketRange(start, start, 0xFFFFFFFFU, 1);
    EXPECT_EQ(long_.end, 0xFFFFFFFFLL * 48000);
}

TEST(AudioClock, APacketWithoutAUsableStampEndsNow) {
    EXPECT_EQ(PositionEndingNow(start, 480, 48000), start - 10 * millisecond);
    // 1 frame at 44100 Hz is 226.75 units, cut off.
    EXPECT_EQ(PositionEndingNow(start, 1, 44100), start - 226);
}

TEST(AudioClock, CountedFramesBeginAtTheDevicesStart) {
    EXPECT_EQ(CountedFrame(start + 5 * millisecond, start, 0), 240);
    EXPECT_EQ(CountedFrame(start + 5 * millisecond, start, 480), 720);
    // 208 units are 0.9984 frames: truncated toward zero.
    EXPECT_EQ(CountedFrame(start + 208, start, 7), 7);
    EXPECT_EQ(CountedFrame(start - 208, start, 7), 7);
}

}  // namespace
}  // namespace zv
