// When the badge shows, rule by rule, and where.
#include "ui/windows/BadgeRules.h"

#include <gtest/gtest.h>

namespace zv {
namespace {

/// A full-screen window of another program on the captured monitor, while the replay runs: the badge is shown.
class BadgeRules : public testing::Test {
protected:
    BadgeRules() {
        front_.kind = FrontKind::Known;
        front_.processId = 42;
        front_.className = u"GameWindow";
        front_.monitor = {u"Main", 0, 0, 1920, 1080, 0, true};
        front_.bounds = front_.monitor.Bounds();
        moment_.replaying = true;
        moment_.monitorDevice = u"Main";
        moment_.front = &front_;
    }
    bool Shows() const { return ShowsBadge(moment_); }

    FrontWindow front_;
    BadgeMoment moment_;
};

TEST_F(BadgeRules, AFullScreenWindowOfAnUnknownProgramShowsIt) { EXPECT_TRUE(Shows()); }

TEST_F(BadgeRules, AKnownGameInAWindowShowsIt) {
    front_.bounds = {100, 100, 1380, 820};
    EXPECT_FALSE(Shows());
    moment_.frontIsGame = true;
    EXPECT_TRUE(Shows());
}

TEST_F(BadgeRules, WithoutAWindowInFrontItIsHidden) {
    moment_.front = nullptr;
    EXPECT_FALSE(Shows());
}

TEST_F(BadgeRules, AnUnknownProcessHidesIt) {
    front_.processId = 0;
    EXPECT_FALSE(Shows());
}

TEST_F(BadgeRules, TheProgramsOwnWindowsHaveNone) {
    front_.kind = FrontKind::Own;
    EXPECT_FALSE(Shows());
}

TEST_F(BadgeRules, TheOverlayHidesIt) {
    moment_.overlayShown = true;
    EXPECT_FALSE(Shows());
}

TEST_F(BadgeRules, AScreenshotHidesIt) {
    moment_.screenshotRuns = true;
    EXPECT_FALSE(Shows());
}

TEST_F(BadgeRules, WithoutReplayAndRecordingItIsHidden) {
    moment_.replaying = false;
    EXPECT_FALSE(Shows());
    moment_.frontIsGame = true;
    EXPECT_FALSE(Shows());
}

TEST_F(BadgeRules, ARecordingAloneIsEnough) {
    moment_.replaying = false;
    moment_.recording = true;
    EXPECT_TRUE(Shows());
}

TEST_F(BadgeRules, AGameOnAnotherMonitorHidesIt) {
    moment_.frontIsGame = true;
    front_.monitor.deviceName = u"Side";
    EXPECT_FALSE(Shows());
}

TEST_F(BadgeRules, WithoutASelectedMonitorAnyOneMayShowIt) {
    moment_.monitorDevice.clear();
    front_.monitor.deviceName = u"Side";
    EXPECT_TRUE(Shows());
}

TEST_F(BadgeRules, ARunningJobDoesNotHideIt) {
    moment_.captureJobRuns = true;
    EXPECT_TRUE(Shows());
}

TEST_F(BadgeRules, TheDesktopHidesIt) {
    for (const TextView shell : {u"Progman", u"WorkerW", u"Shell_TrayWnd"}) {
        front_.className = shell;
        EXPECT_FALSE(Shows());
    }
    front_.className = u"progman";  // a game's own name
    EXPECT_TRUE(Shows());
}

TEST_F(BadgeRules, AKnownGameShowsItRegardlessOfItsWindowClass) {
    front_.className = u"WorkerW";
    moment_.frontIsGame = true;
    EXPECT_TRUE(Shows());
}

TEST_F(BadgeRules, AWindowFillsTheMonitorWithinEightPixelsOnEachSide) {
    front_.monitor = {u"Side", 1920, -200, 1920, 1080, 1, false};
    front_.bounds = {1928, -192, 3832, 872};
    EXPECT_TRUE(FillsMonitor(front_));
    const auto fillsWith = [&](std::int32_t Rectangle::*side, std::int32_t by) {
        FrontWindow window = front_;
        window.bounds.*side += by;
        return FillsMonitor(window);
    };
    EXPECT_FALSE(fillsWith(&Rectangle::left, 1));
    EXPECT_FALSE(fillsWith(&Rectangle::top, 1));
    EXPECT_FALSE(fillsWith(&Rectangle::right, -1));
    EXPECT_FALSE(fillsWith(&Rectangle::bottom, -1));
}

TEST_F(BadgeRules, AWindowThatReachesBeyondTheMonitorFillsItToo) {
    front_.bounds = {-8, -8, 1928, 1088};
    EXPECT_TRUE(FillsMonitor(front_));
}

TEST_F(BadgeRules, ARecordingHasPriorityOverAJobAndAJobOverTheReplay) {
    EXPECT_EQ(static_cast<std::uint32_t>(BadgeStateOf(moment_)), 0U);
    moment_.captureJobRuns = true;
    EXPECT_EQ(static_cast<std::uint32_t>(BadgeStateOf(moment_)), 1U);
    moment_.recording = true;
    EXPECT_EQ(static_cast<std::uint32_t>(BadgeStateOf(moment_)), 2U);
    moment_.captureJobRuns = false;
    EXPECT_EQ(static_cast<std::uint32_t>(BadgeStateOf(moment_)), 2U);
}

TEST_F(BadgeRules, ItsBoundsAreInTheUpperRightCornerAndScaleWithTheDpi) {
    const Rectangle monitor{0, 0, 1920, 1080};
    EXPECT_EQ(BadgeBounds(monitor, 96), (Rectangle{1812, 80, 1902, 112}));
    EXPECT_EQ(BadgeBounds(monitor, 144), (Rectangle{1767, 80, 1902, 128}));
    EXPECT_EQ(BadgeBounds(monitor, 192), (Rectangle{1722, 80, 1902, 144}));
    EXPECT_EQ(BadgeBounds({-2560, -360, 0, 1080}, 96), (Rectangle{-108, -280, -18, -248}));
}

TEST_F(BadgeRules, ItsSizeIsRoundedToTheNearestPixel) {
    const Rectangle monitor{0, 0, 1920, 1080};
    EXPECT_EQ(BadgeBounds(monitor, 120), (Rectangle{1789, 80, 1902, 120}));  // 112.5 and 40
    EXPECT_EQ(BadgeBounds(monitor, 110), (Rectangle{1799, 80, 1902, 117}));  // 103.125 and 36.67
}

}  // namespace
}  // namespace zv
