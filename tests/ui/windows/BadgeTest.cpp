// What the badge's window does as the process in front, the overlay and the capture change.
#include "ui/windows/Badge.h"

#include "ui/Notices.h"
#include "ui/kit/DrawingContext.h"
#include "ui/navigation/Navigation.h"
#include "ui/state/Engine.h"

namespace zv {
namespace {

using fake::CountOf;
using fake::TheFront;
using fake::TheMonitors;
using fake::TheWindows;
using testing::ElementsAre;

class Badge : public Notices {
protected:
    /// A program with that image is in front, in a window on the captured monitor, while the replay runs.
    void PlayInWindow(std::uint32_t processId, TextView image) {
        FrontWindow front{FrontKind::Known, processId, Text(image)};
        front.className = u"GameWindow";
        front.monitor = TheMonitors().monitors.front();
        front.bounds = {100, 100, 1380, 820};
        TheFront() = front;
        Engine().replayRunning = true;
    }
    void PlayFullScreen() {
        PlayInWindow(77, u"C:\\Games\\Unknown.exe");
        TheFront().bounds = TheFront().monitor.Bounds();
    }
    static void UpdateBadge() { zv::UpdateBadge(LookUpFrontWindow()); }
    bool Shown() { return Of(badge_).shown; }
    bool ShownAfterUpdate() {
        UpdateBadge();
        return Shown();
    }
    std::intptr_t Ask(std::uint32_t code) { return BadgeProc(*badge_, code, 0, 0); }
};

TEST_F(Badge, IsShownTopmostOverAGame) {
    PlayInWindow(5, u"C:\\Games\\cs2.exe");
    EXPECT_TRUE(ShownAfterUpdate());
    EXPECT_TRUE(Of(badge_).topmost);
    EXPECT_EQ(Of(badge_).bounds, (Rectangle{1812, 80, 1902, 112}));
}

TEST_F(Badge, IsShownOverEveryKnownGameInAWindow) {
    std::uint32_t processId = 100;
    for (const TextView image :
         {u"C:\\FortniteClient-Win64-Shipping.exe", u"C:\\VALORANT.exe", u"C:\\CS2.exe", u"/games/r5apex_dx12.exe",
          u"C:\\RocketLeague.exe", u"C:\\RobloxPlayerBeta.exe", u"C:\\Minecraft.Windows.exe"}) {
        PlayInWindow(++processId, image);
        EXPECT_TRUE(ShownAfterUpdate()) << processId;
        PlayInWindow(++processId, u"C:\\notepad.exe");
        EXPECT_FALSE(ShownAfterUpdate()) << processId;
    }
}

TEST_F(Badge, OnlyTheFileNameOfTheProgramCounts) {
    std::uint32_t processId = 100;
    for (const TextView image : {u"C:\\fortnite\\notepad.exe", u"C:\\cs2go.exe", u"C:\\javaw.exe", u"C:\\Roblox.exe",
                                 u"/games/cs2-launcher"}) {
        PlayInWindow(++processId, image);
        EXPECT_FALSE(ShownAfterUpdate()) << processId;
    }
}

TEST_F(Badge, UsesTheDpiOfTheWindowInFront) {
    PlayFullScreen();
    TheFront().dpi = 144;
    UpdateBadge();
    EXPECT_EQ(Of(badge_).bounds, (Rectangle{1767, 80, 1902, 128}));
}

TEST_F(Badge, IsShownOverAFullScreenWindowOfAnyProgram) {
    PlayFullScreen();
    EXPECT_TRUE(ShownAfterUpdate());
}

TEST_F(Badge, IsHiddenWhenTheGameIsNoLongerInFront) {
    PlayFullScreen();
    UpdateBadge();
    TheFront() = {};
    EXPECT_FALSE(ShownAfterUpdate());
}

TEST_F(Badge, TheDesktopHasNone) {
    PlayFullScreen();
    TheFront().className = u"Progman";
    EXPECT_FALSE(ShownAfterUpdate());
}

TEST_F(Badge, TheProgramsOwnWindowsHaveNone) {
    PlayFullScreen();
    TheFront().kind = FrontKind::Own;
    EXPECT_FALSE(ShownAfterUpdate());
}

TEST_F(Badge, IsHiddenWhileTheOverlayIsShown) {
    PlayFullScreen();
    UpdateBadge();
    ShowWithoutActivating(*overlay_);
    EXPECT_FALSE(ShownAfterUpdate());
    HideWindow(*overlay_);
    EXPECT_TRUE(ShownAfterUpdate());
}

TEST_F(Badge, IsShownWithoutAnOverlayWindow) {
    PlayFullScreen();
    Ui().overlayWindow = nullptr;
    EXPECT_TRUE(ShownAfterUpdate());
}

TEST_F(Badge, IsHiddenDuringAScreenshot) {
    PlayFullScreen();
    UpdateBadge();
    Ui().screenshot.screenshotSlot.Start([] { return Text(); }, Text());
    EXPECT_FALSE(ShownAfterUpdate());
    AwaitScreenshot();
    EXPECT_FALSE(ShownAfterUpdate());  // finished, but not collected
    Ui().screenshot.screenshotSlot.Take();
    EXPECT_TRUE(ShownAfterUpdate());
}

TEST_F(Badge, NeedsAReplayOrARecording) {
    PlayFullScreen();
    Engine().replayRunning = false;
    EXPECT_FALSE(ShownAfterUpdate());
    Engine().state = EngineState::Recording;
    EXPECT_TRUE(ShownAfterUpdate());
}

TEST_F(Badge, IsHiddenOverAGameOnAnotherMonitor) {
    PlayFullScreen();
    CurrentSettings().monitorDevice = u"Side";
    EXPECT_FALSE(ShownAfterUpdate());
    CurrentSettings().monitorDevice.clear();
    EXPECT_TRUE(ShownAfterUpdate());
}

TEST_F(Badge, AnUnreadableProcessIsNoGameUntilAnotherIsInFront) {
    PlayInWindow(5, u"");
    TheFront().kind = FrontKind::Unknown;
    EXPECT_FALSE(ShownAfterUpdate());
    PlayInWindow(5, u"C:\\cs2.exe");
    EXPECT_FALSE(ShownAfterUpdate());
    PlayInWindow(6, u"C:\\cs2.exe");
    EXPECT_TRUE(ShownAfterUpdate());
}

TEST_F(Badge, IsRepaintedOnlyWhenItsStateChanges) {
    PlayFullScreen();
    UpdateBadge();
    EXPECT_EQ(Ui().badge.badgeState, 0U);
    EXPECT_EQ(Of(badge_).invalidations, 1);
    UpdateBadge();
    EXPECT_EQ(Of(badge_).invalidations, 1);
    Ui().capture.captureJobSlot.Start([] { return Text(); }, Text());
    UpdateBadge();
    EXPECT_EQ(Ui().badge.badgeState, 1U);
    EXPECT_EQ(Of(badge_).invalidations, 2);
    Engine().state = EngineState::Recording;
    UpdateBadge();
    EXPECT_EQ(Ui().badge.badgeState, 2U);
    EXPECT_EQ(Of(badge_).invalidations, 3);
    AwaitJob();
    Ui().capture.captureJobSlot.Take();
    UpdateBadge();
    EXPECT_EQ(Of(badge_).invalidations, 3);
}

TEST_F(Badge, WithoutItsWindowNothingIsShown) {
    PlayFullScreen();
    EXPECT_EQ(Ui().badgeWindow, badge_.get());
    badge_.reset();
    EXPECT_EQ(Ui().badgeWindow, nullptr);
    UpdateBadge();
    HideBadge();
    EXPECT_EQ(CountOf("ShowTopmostAt"), 0);
    EXPECT_EQ(CountOf("HideWindow"), 0);
}

TEST_F(Badge, IsHiddenOnlyWhenItIsShown) {
    const int before = CountOf("HideWindow");
    UpdateBadge();
    EXPECT_EQ(CountOf("HideWindow"), before);
    PlayFullScreen();
    UpdateBadge();
    HideBadge();
    EXPECT_FALSE(Shown());
    EXPECT_EQ(CountOf("HideWindow"), before + 1);
}

TEST_F(Badge, ClicksPassThroughAndActivateNothing) {
    EXPECT_EQ(Ask(message::hitTest), -1);
    EXPECT_EQ(Ask(message::mouseActivate), 3);
    EXPECT_EQ(Ask(message::eraseBackground), 1);
}

TEST_F(Badge, OtherMessagesAreLeftToTheSystem) {
    const int before = CountOf("DefaultProcedure");
    Ask(message::setFocus);
    EXPECT_EQ(CountOf("DefaultProcedure"), before + 1);
}

TEST_F(Badge, SaysOnWhileTheReplayRuns) {
    PlayFullScreen();
    UpdateBadge();
    EXPECT_THAT(Paint(*badge_),
                ElementsAre("fill 0,0,90,32 20,15,30", "text 2,0,45,32 17/600 centred 151,119,255 \"ZV\"",
                            "text 45,0,87,32 15/400 centred 151,119,255 \"ON\""));
}

TEST_F(Badge, ShowsDotsWhileAJobRuns) {
    PlayFullScreen();
    Ui().capture.captureJobSlot.Start([] { return Text(); }, Text());
    UpdateBadge();
    EXPECT_THAT(Paint(*badge_),
                ElementsAre("fill 0,0,90,32 20,15,30", "text 2,0,45,32 17/600 centred 151,119,255 \"ZV\"",
                            "text 45,0,87,32 15/400 centred 151,119,255 \"...\""));
}

TEST_F(Badge, SaysRecInRedWhileARecordingRuns) {
    PlayFullScreen();
    Engine().state = EngineState::Recording;
    Ui().capture.captureJobSlot.Start([] { return Text(); }, Text());
    UpdateBadge();
    EXPECT_THAT(Paint(*badge_),
                ElementsAre("fill 0,0,90,32 20,15,30", "text 2,0,45,32 17/600 centred 151,119,255 \"ZV\"",
                            "text 45,0,87,32 15/400 centred 255,100,125 \"REC\""));
}

TEST_F(Badge, ItsHalvesScaleWithTheWindowAndUseTheThemesColour) {
    Drawing().accentColor = Rgb(81, 151, 255);
    PlayFullScreen();
    TheFront().dpi = 192;
    UpdateBadge();
    EXPECT_THAT(Paint(*badge_),
                ElementsAre("fill 0,0,180,64 20,15,30", "text 2,0,90,64 17/600 centred 81,151,255 \"ZV\"",
                            "text 90,0,177,64 15/400 centred 81,151,255 \"ON\""));
}

}  // namespace
}  // namespace zv
