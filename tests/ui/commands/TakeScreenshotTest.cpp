// A screenshot from its command to the collection of its result, beside jobs and polls and at the program's end.
#include <thread>

#include "support/FileBytes.h"
#include "ui/Interface.h"
#include "ui/commands/CaptureJobs.h"
#include "ui/commands/Commands.h"
#include "ui/commands/Hotkeys.h"
#include "ui/commands/Notifications.h"
#include "ui/commands/Status.h"
#include "ui/navigation/Navigation.h"
#include "ui/state/Engine.h"
#include "ui/windows/Badge.h"
#include "ui/windows/MainWindow.h"
#include "ui/windows/Overlay.h"
#include "ui/windows/ToastWindow.h"

namespace zv {
namespace {

using fake::TheWindows;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char16_t saving[] = u"Saving screenshot...";
constexpr char grab[] = "SaveScreenAsPng";

class TakeScreenshotTest : public Interface {
protected:
    TakeScreenshotTest() {
        CurrentSettings().captureRoot = Folder(u"captures");
        CurrentSettings().monitorDevice = u"SECOND";
        fake::TheMonitors().monitors = {{u"FIRST", 0, 0, 1920, 1080, -1, true},
                                        {u"SECOND", 1920, 10, 1280, 1024, -1, false}};
        fake::TheFront() = {FrontKind::Known, 99, u"C:\\Games\\r5apex.exe"};
        OpenMainWindow();
    }
    ~TakeScreenshotTest() override {
        gate_.Open();
        window_.reset();
        overlay_.reset();
        badge_.reset();
        toast_.reset();
    }
    void MakeOtherWindows() {
        const auto make = [](WindowProc procedure) {
            WindowOptions options;
            options.procedure = procedure;
            options.frame = WindowFrame::Bare;
            return MakeWindow(options);
        };
        overlay_ = make(OverlayProc);
        badge_ = make(BadgeProc);
        toast_ = make(ToastProc);
    }
    Owned<AppWindow> overlay_;
    Owned<AppWindow> badge_;
    Owned<AppWindow> toast_;
    Text Picture() const {
        return JoinPath(JoinPath(Folder(u"captures"), u"Apex Legends"), u"ZV_Screenshot_2026-03-14_15-09-26-535.png");
    }
    /// A screenshot that reads the screen and stays there until the gate opens.
    void OccupyScreenshot() {
        gate_.Hold(grab);
        TakeScreenshot();
        RunTo(grab);
    }
    void FinishScreenshot() {
        AwaitScreenshot();
        Collect();
        FinishRefreshes();
    }
    bool FastTimerRuns() const { return TheWindows().timers.contains(43); }
};

TEST_F(TakeScreenshotTest, SavesTheSelectedMonitorInTheGamesFolderAndShowsThePath) {
    TakeScreenshot();
    EXPECT_EQ(Ui().statusText, saving);
    EXPECT_EQ(TheWindows().timers[43], 16U);
    FinishScreenshot();
    EXPECT_EQ(Ui().statusText, u"Screenshot saved: " + Picture());
    EXPECT_EQ(support::ReadBytes(ToPath(Picture())), fake::screenBytes);
    ASSERT_EQ(fake::Grabs().size(), 1U);
    EXPECT_EQ(fake::Grabs()[0].area, (Rectangle{1920, 10, 3200, 1034}));
    EXPECT_FALSE(FastTimerRuns());
    EXPECT_FALSE(Ui().screenshot.screenshotSlot.IsBusy());
}

TEST_F(TakeScreenshotTest, IsNotLogged) {
    TakeScreenshot();
    FinishScreenshot();
    EXPECT_THAT(Activity(), IsEmpty());
}

TEST_F(TakeScreenshotTest, FlushesTheScreenBeforeItStarts) {
    const std::size_t before = fake::CallNames().size();
    TakeScreenshot();
    FinishScreenshot();
    const auto calls = fake::CallNames();
    const auto first = calls.begin() + static_cast<std::ptrdiff_t>(before);
    ASSERT_GE(calls.end() - first, 5);
    EXPECT_THAT(std::vector<std::string>(first, first + 5),
                ElementsAre("FlushScreen", "LookUpFrontWindow", "StartTimer", "EnumerateMonitors", grab));
}

TEST_F(TakeScreenshotTest, ASecondPressIsRefusedAndOneFileIsWritten) {
    OccupyScreenshot();
    Ui().statusText.clear();
    TakeScreenshot();
    EXPECT_EQ(Ui().statusText, saving);
    EXPECT_EQ(fake::CountOf("FlushScreen"), 1);
    gate_.Open();
    FinishScreenshot();
    EXPECT_EQ(fake::Grabs().size(), 1U);
}

TEST_F(TakeScreenshotTest, AFinishedOneStillRefusesAnotherUntilItHasBeenCollected) {
    TakeScreenshot();
    AwaitScreenshot();
    TakeScreenshot();
    EXPECT_EQ(Ui().statusText, saving);
    Collect();
    EXPECT_EQ(Ui().statusText, u"Screenshot saved: " + Picture());
    EXPECT_EQ(fake::Grabs().size(), 1U);
    TakeScreenshot();
    FinishScreenshot();
    EXPECT_EQ(fake::Grabs().size(), 2U);
}

TEST_F(TakeScreenshotTest, WorksDuringARunningJob) {
    gate_.Hold("StartReplay");
    StartReplayJob();
    RunTo("StartReplay");
    TakeScreenshot();
    FinishScreenshot();
    EXPECT_EQ(Ui().statusText, u"Screenshot saved: " + Picture());
    EXPECT_TRUE(Ui().capture.captureJobSlot.IsBusy());
    EXPECT_TRUE(FastTimerRuns());
    gate_.Open();
    FinishJob();
    EXPECT_EQ(Ui().statusText, u"Replay on");
    EXPECT_FALSE(FastTimerRuns());
}

TEST_F(TakeScreenshotTest, KeepsTheFastTimerAfterAJobHasEnded) {
    OccupyScreenshot();
    StartReplayJob();
    FinishJob();
    EXPECT_EQ(Ui().statusText, u"Replay on");
    EXPECT_TRUE(Ui().screenshot.screenshotSlot.IsBusy());
    EXPECT_TRUE(FastTimerRuns());
    gate_.Open();
    FinishScreenshot();
    EXPECT_EQ(Ui().statusText, u"Screenshot saved: " + Picture());
    EXPECT_FALSE(FastTimerRuns());
}

TEST_F(TakeScreenshotTest, CollectsTheJobBeforeTheScreenshot) {
    StartReplayJob();
    TakeScreenshot();
    AwaitJob();
    FinishScreenshot();
    EXPECT_EQ(Ui().statusText, u"Screenshot saved: " + Picture());
    EXPECT_THAT(Activity(), ElementsAre(u"Capture: Replay on"));
    EXPECT_FALSE(FastTimerRuns());
}

TEST_F(TakeScreenshotTest, DoesNotWaitForAPoll) {
    gate_.Hold("PollCapture");
    Tick();
    RunTo("PollCapture");
    TakeScreenshot();
    FinishScreenshot();
    EXPECT_EQ(Ui().statusText, u"Screenshot saved: " + Picture());
    EXPECT_TRUE(Ui().capture.capturePollSlot.IsBusy());
}

TEST_F(TakeScreenshotTest, DoesNotPreventAPoll) {
    OccupyScreenshot();
    Tick();
    AwaitPoll();
    EXPECT_EQ(fake::CountOf("PollCapture"), 1);
}

TEST_F(TakeScreenshotTest, IsCollectedByTheFastTimerAlone) {
    TakeScreenshot();
    AwaitScreenshot();
    Tick();
    EXPECT_TRUE(Ui().screenshot.screenshotSlot.IsBusy());
    EXPECT_EQ(Ui().statusText, saving);
    Collect();
    EXPECT_FALSE(Ui().screenshot.screenshotSlot.IsBusy());
}

TEST_F(TakeScreenshotTest, UsesFolderAndMonitorAtTheTimeOfTheCommand) {
    Text atTheStart;
    // The timer is started between the copies and the worker.
    onCall_ = [&](const std::string& name, int) {
        if (name == "StartTimer") {
            atTheStart = Ui().statusText;
            CurrentSettings().captureRoot = Folder(u"elsewhere");
            CurrentSettings().monitorDevice = u"FIRST";
            Ui().gameName = u"Other";
        }
    };
    TakeScreenshot();
    FinishScreenshot();
    EXPECT_EQ(atTheStart, saving);
    EXPECT_EQ(Ui().statusText, u"Screenshot saved: " + Picture());
    EXPECT_EQ(fake::Grabs().at(0).area.left, 1920);
}

TEST_F(TakeScreenshotTest, ReportsAFullDisk) {
    fake::FailCall(grab, 1, resultGenericFailure);
    TakeScreenshot();
    FinishScreenshot();
    EXPECT_EQ(Ui().statusText, u"Screenshot failed. Check Gallery > Folders and disk space.");
    EXPECT_FALSE(FastTimerRuns());
}

TEST_F(TakeScreenshotTest, ReportsADisconnectedMonitor) {
    CurrentSettings().monitorDevice = u"GONE";
    TakeScreenshot();
    FinishScreenshot();
    EXPECT_EQ(Ui().statusText, u"Screenshot failed. Check Gallery > Folders and disk space.");
}

TEST_F(TakeScreenshotTest, ReportsAnException) {
    fake::ThrowInCall(grab, 1);
    TakeScreenshot();
    FinishScreenshot();
    EXPECT_EQ(Ui().statusText, u"Screenshot failed. Check Gallery > Folders.");
    EXPECT_FALSE(FastTimerRuns());
    TakeScreenshot();
    FinishScreenshot();
    EXPECT_EQ(Ui().statusText, u"Screenshot saved: " + Picture());
}

// Windows over the screen.

TEST_F(TakeScreenshotTest, HidesOverlayBadgeAndNotificationBeforeItFlushesTheScreen) {
    MakeOtherWindows();
    ToggleQuickOverlay();
    ShowWindowPlain(*badge_);
    ShowStatus(u"Replay saved: x");
    ASSERT_TRUE(IsWindowShown(*toast_));
    bool hidden = false;
    onCall_ = [&](const std::string& name, int) {
        if (name == "FlushScreen") {
            hidden = !IsOverlayShown() && !IsWindowShown(*badge_) && !IsWindowShown(*toast_) &&
                     !fake::RecordOf(*toast_).timers.contains(1);
        }
    };
    gate_.Hold(grab);
    TakeScreenshot();
    EXPECT_TRUE(hidden);
    RunTo(grab);
    EXPECT_FALSE(IsOverlayShown());
    EXPECT_FALSE(IsWindowShown(*toast_)) << "the status of the saving itself calls for no notification";
    gate_.Open();
}

TEST_F(TakeScreenshotTest, ReopensTheOverlayWithoutActivation) {
    MakeOtherWindows();
    ToggleQuickOverlay();
    Ui().lastOverlayActivity = 0;
    fake::TheClock().nowNs = 4'711'000'000;
    TakeScreenshot();
    EXPECT_TRUE(Ui().screenshot.reopenOverlayAfterScreenshot);
    FinishScreenshot();
    EXPECT_TRUE(IsOverlayShown());
    EXPECT_EQ(fake::CountOf("ShowWithoutActivating"), 1);
    EXPECT_EQ(Ui().lastOverlayActivity, 4711U);
    EXPECT_FALSE(Ui().screenshot.reopenOverlayAfterScreenshot);
    EXPECT_TRUE(IsWindowShown(*toast_));
    EXPECT_EQ(Ui().toast.text, u"Screenshot saved");
}

TEST_F(TakeScreenshotTest, ReopensTheOverlayAfterAFailureToo) {
    MakeOtherWindows();
    ToggleQuickOverlay();
    fake::FailCall(grab, 1, resultGenericFailure);
    TakeScreenshot();
    FinishScreenshot();
    EXPECT_TRUE(IsOverlayShown());
    EXPECT_EQ(Ui().toast.text, u"Capture needs attention - check Status");
}

TEST_F(TakeScreenshotTest, LeavesAClosedOverlayClosed) {
    MakeOtherWindows();
    TakeScreenshot();
    FinishScreenshot();
    EXPECT_FALSE(IsOverlayShown());
    EXPECT_EQ(fake::CountOf("ShowWithoutActivating"), 0);
}

TEST_F(TakeScreenshotTest, ARefusedOneDoesNotHideTheOverlay) {
    MakeOtherWindows();
    OccupyScreenshot();
    ToggleQuickOverlay();
    TakeScreenshot();
    EXPECT_TRUE(IsOverlayShown());
    EXPECT_FALSE(Ui().screenshot.reopenOverlayAfterScreenshot);
}

TEST_F(TakeScreenshotTest, IsTheFourthHotKey) {
    Send(message::hotKey, shortcutAction::takeScreenshot + 1);
    FinishScreenshot();
    EXPECT_EQ(fake::Grabs().size(), 1U);
}

TEST_F(TakeScreenshotTest, IsWaitedForBeforeTheEngineStops) {
    OccupyScreenshot();
    bool wholeAtStop = false;
    bool timersStopped = false;
    onCall_ = [&](const std::string& name, int) {
        if (name == "StopAll") {
            wholeAtStop = Ui().screenshot.screenshotSlot.IsFinished() && std::filesystem::exists(ToPath(Picture()));
            timersStopped = TheWindows().timers.empty();
        }
    };
    std::thread release = OpenGateUnless("StopAll");
    ExitProgram();
    release.join();
    EXPECT_TRUE(wholeAtStop);
    EXPECT_TRUE(timersStopped);
}

}  // namespace
}  // namespace zv
