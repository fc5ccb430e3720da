#include "capture/SpeedCheck.h"

#include <gtest/gtest.h>

#include "fake/VideoCapture.h"

namespace zv {
namespace {

TEST(FrameThreshold, IsAQuarterOfASecondButAtLeastFourFrames) {
    EXPECT_EQ(FrameThreshold(30), 7);
    EXPECT_EQ(FrameThreshold(60), 15);
    EXPECT_EQ(FrameThreshold(120), 30);
    EXPECT_EQ(FrameThreshold(240), 60);
    EXPECT_EQ(FrameThreshold(12), 4);
}

TEST(Progress, ALaterLineOfTheSameFileCanReachTheThreshold) {
    EXPECT_FALSE(FramesHaveReached("frame=14\nfps=0.00\n", 15));
    EXPECT_TRUE(FramesHaveReached("frame=14\nprogress=continue\nframe=15\n", 15));
    EXPECT_TRUE(FramesHaveReached("frame=16\nframe=2\n", 15));
}

TEST(Progress, LinesWithoutAFrameCountAreIgnored) {
    EXPECT_FALSE(FramesHaveReached("", 4));
    EXPECT_FALSE(FramesHaveReached("frame=\nframe=x\nframe\n frame=99\ntotal_frame=99\nframes=99\n", 4));
    EXPECT_TRUE(FramesHaveReached("frame=99999999999999999999\nframe=4\n", 4));
    EXPECT_FALSE(FramesHaveReached("frame=99999999999999999999\nframe=-5\n", 4));
}

TEST(Progress, ALastLineWithoutEndAndCarriageReturnsCount) {
    EXPECT_TRUE(FramesHaveReached("frame=4", 4));
    EXPECT_TRUE(FramesHaveReached("frame=   4\r\n", 4));
}

TEST(Progress, ANumberEndsWithItsText) {
    const std::string_view longer = "frame=149";
    EXPECT_FALSE(FramesHaveReached(longer.substr(0, longer.size() - 1), 15));
    EXPECT_TRUE(FramesHaveReached(longer, 15));
}

TEST(SpeedCheck, OnlyFourKAndHighRatesAreMeasured) {
    EXPECT_FALSE(NeedsSpeedCheck(1920, 60));
    EXPECT_FALSE(NeedsSpeedCheck(2560, 60));
    EXPECT_TRUE(NeedsSpeedCheck(1920, 120));
    EXPECT_TRUE(NeedsSpeedCheck(2560, 240));
    EXPECT_TRUE(NeedsSpeedCheck(3840, 30));
}

TEST(SpeedCheck, NinetyPercentPasses) {
    EXPECT_TRUE(IsFastEnough(108, 120));
    EXPECT_FALSE(IsFastEnough(107, 120));
    EXPECT_TRUE(IsFastEnough(27, 30));
    EXPECT_FALSE(IsFastEnough(26, 30));
}

TEST(SpeedCheck, TheRateIsTruncatedAndTimeIsNeverZero) {
    EXPECT_EQ(FrameRate(239, 2000), 119);
    EXPECT_EQ(FrameRate(240, 2000), 120);
    EXPECT_EQ(FrameRate(2, 0), 2000);
    EXPECT_EQ(FrameRate(0, 2000), 0);
}

TEST(SpeedCheck, TheLogLineHasItsExactForm) {
    VideoCapture video;
    video.encodeMicros = 2210;
    video.pipeWaitMicros = 31;
    SpeedMeasurement measurement;
    measurement.width = 3840;
    measurement.height = 2160;
    measurement.target = 120;
    measurement.measured = 97;
    measurement.stats = FormatPerformanceStats(video);
    EXPECT_EQ(measurement.stats, u"GPU encode/transport us=2210 pipe wait us=31");
    EXPECT_EQ(PerformanceLine(measurement),
              "3840x2160 target=120 measured=97 GPU encode/transport us=2210 pipe wait us=31\n");
}

}  // namespace
}  // namespace zv
