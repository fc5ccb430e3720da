// The icon in the notification area: what opens its menu, the menu's items, and what they do.
#include "ui/windows/TrayMenu.h"

#include "ui/Interface.h"
#include "ui/navigation/Navigation.h"
#include "ui/state/Engine.h"
#include "ui/windows/Overlay.h"

namespace zv {
namespace {

using fake::CountOf;
using fake::TheMenus;
using fake::TheTray;
using testing::ElementsAre;

constexpr std::uint32_t tray = 0x8016;

class TrayMenu : public Interface {
protected:
    TrayMenu() {
        CurrentSettings().captureRoot = Folder(u"captures");
        OpenMainWindow();
        WindowOptions options;
        options.procedure = OverlayProc;
        options.frame = WindowFrame::Bare;
        overlay_ = MakeWindow(options);
    }
    ~TrayMenu() override {
        gate_.Open();
        RemoveTrayIcon();
        overlay_.reset();
    }
    void Choose(int id) {
        TheMenus().choice = id;
        EXPECT_EQ(Send(tray, 0, message::rightButtonUp), 0);
    }
    std::vector<Text> LastMenu() const {
        std::vector<Text> rows;
        for (const MenuItem& item : TheMenus().shown.back()) {
            rows.push_back(Decimal(item.id) + u" " + item.label);
        }
        return rows;
    }
    Owned<AppWindow> overlay_;
};

TEST_F(TrayMenu, OpensAtASingleClickTheRightButtonAndTheKeyboard) {
    for (const std::intptr_t event : {0x7B, 0x205, 0x400, 0x401}) {
        Send(tray, 7, event | 0x10000);  // the icon's number is in the high word
    }
    EXPECT_EQ(TheMenus().shown.size(), 4U);
    EXPECT_EQ(TheMenus().owner, window_.get());
    for (const std::intptr_t event : {0x200, 0x201, 0x202, 0x203, 0x204, 0x402, 0x405}) {
        Send(tray, 0, event);
    }
    EXPECT_EQ(TheMenus().shown.size(), 4U);
}

TEST_F(TrayMenu, ADoubleClickOpensTheWindow) {
    HideWindow(*window_);
    Send(tray, 0, message::leftButtonDoubleClick);
    EXPECT_TRUE(IsWindowShown(*window_));
    EXPECT_EQ(fake::TheWindows().inFront, window_.get());
    EXPECT_TRUE(TheMenus().shown.empty());
}

TEST_F(TrayMenu, HasItsItemsInOrderWithConstantKeyNames) {
    CurrentSettings().bindMods = {2, 2, 2, 2};
    CurrentSettings().bindKeys = {65, 66, 67, 68};
    Choose(0);
    EXPECT_THAT(LastMenu(),
                ElementsAre(u"1 Open Zorvel", u"2 Save Clip (Alt + F10)", u"4 Start recording",
                            u"5 Screenshot selected monitor", u"6 Quick capture (Alt + X)", u"0 ", u"3 Exit Zorvel"));
}

TEST_F(TrayMenu, OffersToStopARunningRecording) {
    Engine().state = EngineState::Recording;
    Choose(0);
    EXPECT_EQ(LastMenu()[2], u"4 Stop and save recording");
    Engine().state = EngineState::Ready;
    Choose(0);
    EXPECT_EQ(LastMenu()[2], u"4 Start recording");
}

TEST_F(TrayMenu, OffersNoCaptureWhereNoneIsPossible) {
    fake::TheWindows().captureObstacle = u"Nothing can capture the screen.";
    Choose(0);
    EXPECT_THAT(LastMenu(), ElementsAre(u"1 Open Zorvel", u"6 Quick capture (Alt + X)", u"0 ", u"3 Exit Zorvel"));
}

TEST_F(TrayMenu, ClosedWithoutAChoiceDoesNothing) {
    const auto before = fake::CallNames().size();
    Choose(0);
    EXPECT_EQ(fake::CallNames().size(), before + 1);
    EXPECT_EQ(Ui().statusText, u"Ready");
}

TEST_F(TrayMenu, IsTheSameForANotificationAreaThatShowsItItself) {
    Send(fake::taskbarCreated);
    Engine().state = EngineState::Recording;
    Choose(0);
    const std::vector<MenuItem> items = TheTray().icon->menu();
    ASSERT_EQ(items.size(), TheMenus().shown.back().size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(items[i].id, TheMenus().shown.back()[i].id);
        EXPECT_EQ(items[i].label, TheMenus().shown.back()[i].label);
    }
    Engine().state = EngineState::Ready;
    HideWindow(*window_);
    Send(tray, 1, 0x500);
    EXPECT_EQ(fake::TheWindows().inFront, window_.get());
    Send(tray, 4711, 0x500);
}

TEST_F(TrayMenu, OpenShowsTheWindow) {
    HideWindow(*window_);
    Choose(1);
    EXPECT_EQ(fake::TheWindows().inFront, window_.get());
}

TEST_F(TrayMenu, SaveClipSavesTheReplay) {
    Choose(2);
    EXPECT_EQ(Ui().statusText, u"Replay is paused. Turn on automatic replay in Settings > Capture.");
    Engine().replayRunning = true;
    Choose(2);
    FinishJob();
    EXPECT_EQ(fake::TheEngine().clips.size(), 1U);
}

TEST_F(TrayMenu, RecordingStartsAndStops) {
    Choose(4);
    FinishJob();
    EXPECT_EQ(fake::TheEngine().recordings.size(), 1U);
    Choose(4);
    FinishJob();
    EXPECT_EQ(CountOf("FinishRecording"), 1);
}

TEST_F(TrayMenu, ScreenshotTakesOne) {
    Choose(5);
    EXPECT_TRUE(Ui().screenshot.screenshotSlot.IsBusy());
}

TEST_F(TrayMenu, QuickCaptureTogglesTheOverlay) {
    Choose(6);
    EXPECT_TRUE(IsOverlayShown());
    Choose(6);
    EXPECT_FALSE(IsOverlayShown());
}

TEST_F(TrayMenu, ExitEndsTheProgramRegardlessOfTheCloseBox) {
    ToggleQuickOverlay();
    ASSERT_TRUE(CurrentSettings().minimizeToTray);
    Choose(3);
    EXPECT_FALSE(IsOverlayShown());
    EXPECT_TRUE(fake::TheWindows().quitPosted);
    EXPECT_EQ(Ui().mainWindow, nullptr);
}

// The icon.

TEST_F(TrayMenu, TheIconIsAddedAgainWithTheNotificationArea) {
    EXPECT_EQ(TheTray().additions, 0);
    EXPECT_EQ(Send(fake::taskbarCreated), 0);
    ASSERT_TRUE(TheTray().icon);
    EXPECT_EQ(TheTray().icon->window, window_.get());
    EXPECT_EQ(TheTray().icon->message, tray);
    EXPECT_EQ(TheTray().icon->tip, u"ZV Reels Max");
    Send(fake::taskbarCreated);
    EXPECT_EQ(TheTray().additions, 2);
    EXPECT_EQ(CountOf("RemoveTrayIcon"), 1) << "the earlier one goes first";
    EXPECT_TRUE(TheTray().icon);
}

TEST_F(TrayMenu, AFailedAddIsRetriedWhenTheNotificationAreaIsRecreated) {
    fake::FailCall("AddTrayIcon", 1, -1);
    Send(fake::taskbarCreated);
    EXPECT_FALSE(TheTray().icon);
    EXPECT_EQ(Ui().statusText, u"Ready");
    Send(fake::taskbarCreated);
    EXPECT_TRUE(TheTray().icon);
}

// The main window while there is no icon that shows it again.

TEST_F(TrayMenu, TheCloseBoxMinimizesWhileThereIsNoIcon) {
    Send(message::close);
    EXPECT_TRUE(IsWindowShown(*window_));
    EXPECT_TRUE(IsWindowMinimized(*window_));
    Send(message::close);
    EXPECT_EQ(CountOf("MinimizeWindow"), 1);
    Send(fake::taskbarCreated);
    EXPECT_FALSE(IsWindowShown(*window_)) << "the icon shows it again";
    // The icon goes with its notification area.
    fake::FailCall("AddTrayIcon", 2, -1);
    Send(fake::taskbarCreated);
    EXPECT_TRUE(IsWindowMinimized(*window_));
    EXPECT_EQ(CountOf("MinimizeWindow"), 2);
}

TEST_F(TrayMenu, AnOpenWindowDoesNotChangeWithTheIcon) {
    Send(fake::taskbarCreated);
    fake::FailCall("AddTrayIcon", 2, -1);
    Send(fake::taskbarCreated);
    EXPECT_FALSE(IsWindowMinimized(*window_));
    Send(message::close);
    EXPECT_TRUE(IsWindowMinimized(*window_));
    ShowMainWindow();
    Send(fake::taskbarCreated);
    EXPECT_TRUE(IsWindowShown(*window_));
    EXPECT_FALSE(IsWindowMinimized(*window_));
    // The user minimizes it by hand.
    fake::RecordOf(*window_).icon = true;
    Send(fake::taskbarCreated);
    EXPECT_TRUE(IsWindowShown(*window_));
}

TEST_F(TrayMenu, TheIconIsRemovedAtTheExit) {
    Send(fake::taskbarCreated);
    Choose(3);
    EXPECT_FALSE(TheTray().icon);
}

}  // namespace
}  // namespace zv
