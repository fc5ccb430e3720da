// The main window's procedure: its two timers, the close rule, a change of the display, and the order of the shutdown.
#include "ui/MainWindow.h"

#include <algorithm>
#include <thread>

#include "ui/CaptureJobs.h"
#include "ui/CaptureSettings.h"
#include "ui/Commands.h"
#include "ui/Interface.h"

namespace zv {
namespace {

using stand_in::CountOf;
using stand_in::ReplayStart;
using stand_in::TheEngine;
using stand_in::TheWindows;
using testing::ElementsAre;
using Timers = std::map<std::uintptr_t, std::uint32_t>;

class MainWindow : public Interface {
protected:
    MainWindow() { OpenMainWindow(); }
    std::filesystem::path Marker() const {
        return ToPath(JoinPath(JoinPath(Folder(u"data"), u"ZVReelsMax"), u"running.lock"));
    }
};

TEST_F(MainWindow, AnIdleProgramHasOneTimer) {
    EXPECT_EQ(TheWindows().timers, (Timers{{42, 500}}));
    Collect();
    Tick();
    EXPECT_EQ(TheWindows().timers, (Timers{{42, 500}}));
}

TEST_F(MainWindow, TheFastTimerLivesAsLongAsAJob) {
    gate_.Hold("StartReplay");
    StartReplayJob();
    EXPECT_EQ(TheWindows().timers, (Timers{{42, 500}, {43, 16}}));
    RunTo("StartReplay");
    Collect();
    EXPECT_EQ(TheWindows().timers.count(43), 1U);
    EXPECT_EQ(Ui().statusText, u"Ready");
    gate_.Open();
    AwaitJob();
    Collect();
    EXPECT_EQ(TheWindows().timers, (Timers{{42, 500}}));
    EXPECT_EQ(Ui().statusText, u"Replay on");
    EXPECT_THAT(Activity(), ElementsAre(u"Capture: Replay on"));
}

TEST_F(MainWindow, TheSlowTimerCollectsAJobAsWell) {
    StartReplayJob();
    AwaitJob();
    HideWindow(*window_);
    Tick();
    EXPECT_FALSE(Ui().captureJobSlot.IsBusy());
    EXPECT_EQ(Ui().statusText, u"Replay on");
    EXPECT_THAT(Activity(), ElementsAre(u"Capture: Replay on"));
    EXPECT_FALSE(Ui().capturePollSlot.IsBusy()) << "the tick that collects a job starts no poll";
}

TEST_F(MainWindow, AHiddenWindowsJobIsCollected) {
    HideWindow(*window_);
    StartReplayJob();
    FinishJob();
    EXPECT_EQ(Ui().statusText, u"Replay on");
}

TEST_F(MainWindow, NoPollIsStartedOrCollectedDuringAJob) {
    gate_.Hold("StartReplay");
    StartReplayJob();
    RunTo("StartReplay");
    Tick();
    Tick();
    EXPECT_FALSE(Ui().capturePollSlot.IsBusy());
    EXPECT_EQ(CountOf("PollCapture"), 0);
}

TEST_F(MainWindow, APollIsCollectedByTheNextTickWhichStartsAnother) {
    TheEngine().pollResult = {17, false, u"not for the user"};
    Tick();
    EXPECT_TRUE(Ui().capturePollSlot.IsBusy());
    EXPECT_EQ(Ui().secondsReady, 0);
    AwaitPoll();
    Tick();
    EXPECT_EQ(Ui().secondsReady, 17);
    EXPECT_EQ(Ui().statusText, u"Ready") << "nothing has changed";
    EXPECT_TRUE(Ui().capturePollSlot.IsBusy());
    AwaitPoll();
    EXPECT_EQ(CountOf("PollCapture"), 2);
}

TEST_F(MainWindow, ASlowPollSkipsTicks) {
    gate_.Hold("PollCapture");
    Tick();
    RunTo("PollCapture");
    Tick();
    Tick();
    EXPECT_EQ(CountOf("PollCapture"), 1);
}

TEST_F(MainWindow, AChangeThatAPollFindsIsShownOnce) {
    TheEngine().pollResult = {0, true, u"Replay encoder stopped unexpectedly. Logs: x"};
    Tick();
    AwaitPoll();
    TheEngine().pollResult = {0, false, u""};
    Tick();
    EXPECT_EQ(Ui().statusText, u"Replay encoder stopped unexpectedly. Logs: x");
    Ui().statusText = u"something else";
    AwaitPoll();
    Tick();
    EXPECT_EQ(Ui().statusText, u"something else");
    EXPECT_TRUE(Activity().empty()) << "polls are not logged";
}

TEST_F(MainWindow, APollThatThrowsEndsInOneFixedText) {
    Ui().secondsReady = 9;
    stand_in::ThrowInCall("PollCapture", 1);
    Tick();
    AwaitPoll();
    Tick();
    EXPECT_EQ(Ui().statusText, u"Capture check failed. Try restarting replay.");
    EXPECT_EQ(Ui().secondsReady, 0);
}

TEST_F(MainWindow, EachTickAsksForTheGameInFront) {
    stand_in::TheForeground().process = {ForegroundKind::Known, 9, u"C:\\x\\RocketLeague.exe"};
    Tick();
    EXPECT_EQ(Ui().gameName, u"Rocket League");
    stand_in::TheForeground().process = {ForegroundKind::Own, 1, u""};
    Tick();
    EXPECT_EQ(Ui().gameName, u"Rocket League");
}

// A change of the display.

TEST_F(MainWindow, ADisplayChangeRestartsCaptureOnTheNextTick) {
    Ui().secondsReady = 30;
    Engine().replayRunning = true;
    CurrentSettings().codec = u"HEVC";
    CurrentSettings().replaySeconds = 75;
    CurrentSettings().monitorDevice = u"second";
    Send(message::displayChange);
    EXPECT_TRUE(Ui().displayChangePending);
    EXPECT_EQ(Ui().secondsReady, 0);
    EXPECT_EQ(Ui().statusText, u"Display layout changed. Updating the selected monitor...");
    EXPECT_EQ(CountOf("StopAll"), 0);
    gate_.Hold("StopAll");
    Tick();
    EXPECT_FALSE(Ui().displayChangePending);
    EXPECT_FALSE(Ui().capturePollSlot.IsBusy());
    CurrentSettings().monitorDevice = u"third";
    CurrentSettings().replaySeconds = 15;
    gate_.Open();
    FinishJob();
    EXPECT_EQ(CountOf("StopAll"), 1);
    ASSERT_EQ(TheEngine().configs.size(), 1U);
    EXPECT_EQ(TheEngine().configs[0].monitorDevice, u"second");
    EXPECT_EQ(TheEngine().configs[0].codec, u"H264");
    EXPECT_THAT(TheEngine().replayStarts, ElementsAre(ReplayStart{true, 75}));
    EXPECT_EQ(Ui().statusText, u"Replay on");
}

TEST_F(MainWindow, ADisplayChangeDuringAJobWaitsUntilTheJobHasBeenCollected) {
    gate_.Hold("StartReplay");
    StartReplayJob();
    RunTo("StartReplay");
    Send(message::displayChange);
    Tick();
    EXPECT_TRUE(Ui().displayChangePending);
    gate_.Open();
    AwaitJob();
    Tick();  // collects
    EXPECT_TRUE(Ui().displayChangePending);
    EXPECT_EQ(CountOf("StopAll"), 0);
    Tick();
    EXPECT_FALSE(Ui().displayChangePending);
    FinishJob();
    EXPECT_EQ(CountOf("StopAll"), 1);
    EXPECT_EQ(CountOf("StartReplay"), 2);
}

TEST_F(MainWindow, ADisplayChangeThatCannotBeConfiguredStartsNoReplay) {
    stand_in::FailCall("Configure", 1, -1);
    Send(message::displayChange);
    Tick();
    FinishJob();
    EXPECT_EQ(CountOf("StartReplay"), 0);
    EXPECT_EQ(Ui().statusText, u"Not configured");
}

TEST_F(MainWindow, AMonitorUnpluggedDuringARecordingEndsTheRecordingFirst) {
    Engine().state = EngineState::Recording;
    Send(message::displayChange);
    Tick();
    FinishJob();
    const auto calls = stand_in::CallNames();
    const auto stop = std::find(calls.begin(), calls.end(), "StopAll");
    EXPECT_NE(std::find(stop, calls.end(), "Configure"), calls.end());
    EXPECT_EQ(CountOf("StopAll"), 1);
}

// Closing.

TEST_F(MainWindow, TheCloseBoxHidesTheWindowAndLeavesAJobRunning) {
    gate_.Hold("StartReplay");
    StartReplayJob();
    RunTo("StartReplay");
    Send(message::close);
    EXPECT_FALSE(IsWindowShown(*window_));
    EXPECT_FALSE(TheWindows().quitPosted);
    EXPECT_TRUE(Ui().captureJobSlot.IsBusy());
    EXPECT_EQ(CountOf("destroy"), 0);
}

TEST_F(MainWindow, TheCloseBoxEndsTheProgramWhenItIsSetSo) {
    CurrentSettings().minimizeToTray = false;
    Send(message::close);
    EXPECT_EQ(CountOf("destroy"), 1);
    EXPECT_TRUE(TheWindows().quitPosted);
    EXPECT_EQ(TheWindows().quitCode, 0);
}

TEST_F(MainWindow, ExitEndsTheProgramWhateverTheCloseBoxDoes) {
    ExitProgram();
    EXPECT_EQ(CountOf("HideWindow"), 1);
    EXPECT_EQ(CountOf("destroy"), 1);
    EXPECT_TRUE(TheWindows().quitPosted);
    EXPECT_EQ(Ui().mainWindow, nullptr);
    TheWindows().quitPosted = false;
    ExitProgram();  // there is no window any more
    EXPECT_TRUE(TheWindows().quitPosted);
    EXPECT_EQ(CountOf("destroy"), 1);
}

TEST_F(MainWindow, TheShutdownGoesInItsOrder) {
    SessionMarkerBegin(JoinPath(Folder(u"data"), u"ZVReelsMax"));
    ASSERT_TRUE(std::filesystem::exists(Marker()));
    bool savedAtStop = true;
    bool savedAtQuit = false;
    bool markerAtQuit = true;
    onCall_ = [&](const std::string& name, int) {
        if (name == "StopAll") {
            savedAtStop = !SettingsBytes().empty();
        } else if (name == "PostQuit") {
            savedAtQuit = !SettingsBytes().empty();
            markerAtQuit = std::filesystem::exists(Marker());
        }
    };
    const std::size_t before = stand_in::CallNames().size();
    ExitProgram();
    const auto calls = stand_in::CallNames();
    EXPECT_THAT(std::vector<std::string>(calls.begin() + static_cast<std::ptrdiff_t>(before), calls.end()),
                ElementsAre("HideWindow", "DefaultProcedure", "destroy", "StopTimer", "StopTimer", "StopAll",
                            "UnregisterGlobalKey", "UnregisterGlobalKey", "UnregisterGlobalKey", "UnregisterGlobalKey",
                            "PostQuit"));
    EXPECT_FALSE(savedAtStop);
    EXPECT_TRUE(savedAtQuit);
    EXPECT_FALSE(markerAtQuit);
    EXPECT_TRUE(TheWindows().keys.empty());
    EXPECT_TRUE(TheWindows().timers.empty());
}

TEST_F(MainWindow, TheShutdownWaitsForAJobBeforeItStopsTheEngine) {
    gate_.Hold("StartReplay");
    StartReplayJob();
    RunTo("StartReplay");
    bool jobEnded = false;
    bool timersStopped = false;
    onCall_ = [&](const std::string& name, int) {
        if (name == "StopAll") {
            jobEnded = Ui().captureJobSlot.IsFinished();
            timersStopped = TheWindows().timers.empty();
        }
    };
    std::thread release([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        gate_.Open();
    });
    ExitProgram();
    release.join();
    EXPECT_TRUE(jobEnded);
    EXPECT_TRUE(timersStopped);
}

TEST_F(MainWindow, TheShutdownWaitsForAPollBeforeItStopsTheEngine) {
    gate_.Hold("PollCapture");
    Tick();
    RunTo("PollCapture");
    bool pollEnded = false;
    onCall_ = [&](const std::string& name, int) {
        if (name == "StopAll") {
            pollEnded = Ui().capturePollSlot.IsFinished();
        }
    };
    std::thread release([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        gate_.Open();
    });
    ExitProgram();
    release.join();
    EXPECT_TRUE(pollEnded);
}

TEST_F(MainWindow, OtherMessagesAreLeftToTheSystem) {
    const int before = CountOf("DefaultProcedure");
    Send(message::null);
    Send(0x8016);
    EXPECT_EQ(CountOf("DefaultProcedure"), before + 2);
}

}  // namespace
}  // namespace zv
