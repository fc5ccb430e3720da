// The main window's procedure: its two timers, the close rule, a change of the display, and the order of the shutdown.
#include "ui/windows/MainWindow.h"

#include <algorithm>
#include <thread>

#include "ui/Interface.h"
#include "ui/commands/CaptureJobs.h"
#include "ui/commands/Commands.h"
#include "ui/commands/Notifications.h"
#include "ui/commands/Status.h"
#include "ui/commands/ToastRules.h"
#include "ui/navigation/Navigation.h"
#include "ui/pages/ShortcutEditor.h"
#include "ui/state/Engine.h"
#include "ui/windows/Badge.h"
#include "ui/windows/Overlay.h"
#include "ui/windows/ToastWindow.h"
#include "ui/windows/TrayMenu.h"

namespace zv {
namespace {

using fake::CountOf;
using fake::ReplayStart;
using fake::TheEngine;
using fake::TheWindows;
using testing::ElementsAre;
using Timers = std::map<std::uintptr_t, std::uint32_t>;

class MainWindow : public Interface {
protected:
    MainWindow() {
        OpenMainWindow();
        overlay_ = MakeSmall(OverlayProc, u"overlay");
    }
    ~MainWindow() override {
        gate_.Open();
        window_.reset();
        overlay_.reset();
        badge_.reset();
        toast_.reset();
    }
    static Owned<AppWindow> MakeSmall(WindowProc procedure, TextView className) {
        WindowOptions options;
        options.className = className;
        options.procedure = procedure;
        options.frame = WindowFrame::Bare;
        return MakeWindow(options);
    }
    /// The badge and the notification, as the program's start makes them.
    void MakeNotices() {
        badge_ = MakeSmall(BadgeProc, u"badge");
        toast_ = MakeSmall(ToastProc, u"toast");
    }
    /// A game that fills its monitor, in front.
    static void PutGameInFront() {
        FrontWindow front;
        front.kind = FrontKind::Known;
        front.processId = 77;
        front.bounds = {0, 0, 1920, 1080};
        front.monitor = {u"Main", 0, 0, 1920, 1080, 0, true};
        fake::TheFront() = front;
    }
    fake::WindowRecord& OverlayRecord() { return fake::RecordOf(*overlay_); }
    Owned<AppWindow> overlay_;
    Owned<AppWindow> badge_;
    Owned<AppWindow> toast_;
    fake::WindowRecord& Record() { return fake::RecordOf(*window_); }
    static std::intptr_t At(std::int32_t x, std::int32_t y) { return static_cast<std::intptr_t>(y) << 16 | x; }
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

TEST_F(MainWindow, TheFastTimerRunsAsLongAsAJob) {
    gate_.Hold("StartReplay");
    StartReplayJob();
    EXPECT_EQ(TheWindows().timers, (Timers{{42, 500}, {43, 16}}));
    RunTo("StartReplay");
    Collect();
    EXPECT_EQ(TheWindows().timers.count(43), 1U);
    EXPECT_EQ(Ui().statusText, u"Ready");
    gate_.Open();
    FinishJob();
    EXPECT_EQ(TheWindows().timers, (Timers{{42, 500}}));
    EXPECT_EQ(Ui().statusText, u"Replay on");
    EXPECT_THAT(Activity(), ElementsAre(u"Capture: Replay on"));
}

TEST_F(MainWindow, TheSlowTimerCollectsAJobAsWell) {
    StartReplayJob();
    AwaitJob();
    HideWindow(*window_);
    Tick();
    EXPECT_FALSE(Ui().capture.captureJobSlot.IsBusy());
    EXPECT_EQ(Ui().statusText, u"Replay on");
    EXPECT_THAT(Activity(), ElementsAre(u"Capture: Replay on"));
    EXPECT_FALSE(Ui().capture.capturePollSlot.IsBusy()) << "the tick that collects a job starts no poll";
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
    EXPECT_FALSE(Ui().capture.capturePollSlot.IsBusy());
    EXPECT_EQ(CountOf("PollCapture"), 0);
}

TEST_F(MainWindow, APollIsCollectedByTheNextTickWhichStartsAnother) {
    TheEngine().pollResult = {17, false, u"not for the user"};
    Tick();
    EXPECT_TRUE(Ui().capture.capturePollSlot.IsBusy());
    EXPECT_EQ(Ui().capture.secondsReady, 0);
    AwaitPoll();
    Tick();
    EXPECT_EQ(Ui().capture.secondsReady, 17);
    EXPECT_EQ(Ui().statusText, u"Ready") << "nothing has changed";
    EXPECT_TRUE(Ui().capture.capturePollSlot.IsBusy());
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

TEST_F(MainWindow, ACaptureThatFallsBehindIsReportedOnce) {
    const Text report =
        u"Speed check: this computer is too slow for the capture, and sound and picture drift apart. Choose a lower "
        u"quality in Settings > Capture.";
    const auto poll = [this] {
        AwaitPoll();
        Tick();
    };
    Tick();
    poll();
    EXPECT_EQ(Ui().statusText, u"Ready");
    Engine().fallsBehind = true;
    poll();
    EXPECT_EQ(Ui().statusText, report);
    EXPECT_EQ(ToastTextForStatus(report).text, u"Capture is too slow - lower quality in Settings");
    Ui().statusText = u"something else";
    poll();
    EXPECT_EQ(Ui().statusText, u"something else");
    EXPECT_THAT(Activity(), ElementsAre(u"Capture: " + report));
    // The next capture.
    Engine().fallsBehind = false;
    poll();
    Engine().fallsBehind = true;
    poll();
    EXPECT_EQ(Ui().statusText, report);
    EXPECT_EQ(Activity().size(), 2U);
}

TEST_F(MainWindow, ThePollsOwnReportIsNotReplaced) {
    Engine().fallsBehind = true;
    TheEngine().pollResult = {0, true, u"Replay encoder stopped unexpectedly. Logs: x"};
    Tick();
    AwaitPoll();
    Tick();
    EXPECT_EQ(Ui().statusText, u"Replay encoder stopped unexpectedly. Logs: x");
}

TEST_F(MainWindow, APollThatThrowsShowsAFixedText) {
    Ui().capture.secondsReady = 9;
    fake::ThrowInCall("PollCapture", 1);
    Tick();
    AwaitPoll();
    Tick();
    EXPECT_EQ(Ui().statusText, u"Capture check failed. Try restarting replay.");
    EXPECT_EQ(Ui().capture.secondsReady, 0);
}

TEST_F(MainWindow, EachTickLooksUpTheWindowInFrontOnce) {
    const int before = CountOf("LookUpFrontWindow");
    Tick();
    EXPECT_EQ(CountOf("LookUpFrontWindow"), before + 1);
}

TEST_F(MainWindow, EachTickRefreshesTheNameOfTheGameInFront) {
    fake::TheFront() = {FrontKind::Known, 9, u"C:\\x\\RocketLeague.exe"};
    Tick();
    EXPECT_EQ(Ui().gameName, u"Rocket League");
    fake::TheFront() = {FrontKind::Own, 1, u""};
    Tick();
    EXPECT_EQ(Ui().gameName, u"Rocket League");
}

// A change of the display.

TEST_F(MainWindow, ADisplayChangeRestartsCaptureOnTheNextTick) {
    Ui().capture.secondsReady = 30;
    Ui().monitorLabel = u"the old one";
    Engine().replayRunning = true;
    CurrentSettings().codec = u"HEVC";
    CurrentSettings().replaySeconds = 75;
    CurrentSettings().monitorDevice = u"second";
    Send(message::displayChange);
    EXPECT_TRUE(Ui().capture.displayChangePending);
    EXPECT_EQ(Ui().capture.secondsReady, 0);
    EXPECT_EQ(Ui().monitorLabel, u"");
    EXPECT_EQ(Ui().statusText, u"Display layout changed. Updating the selected monitor...");
    EXPECT_EQ(CountOf("StopAll"), 0);
    gate_.Hold("StopAll");
    Tick();
    EXPECT_FALSE(Ui().capture.displayChangePending);
    EXPECT_FALSE(Ui().capture.capturePollSlot.IsBusy());
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
    EXPECT_TRUE(Ui().capture.displayChangePending);
    gate_.Open();
    AwaitJob();
    Tick();  // collects
    EXPECT_TRUE(Ui().capture.displayChangePending);
    EXPECT_EQ(CountOf("StopAll"), 0);
    Tick();
    EXPECT_FALSE(Ui().capture.displayChangePending);
    FinishJob();
    EXPECT_EQ(CountOf("StopAll"), 1);
    EXPECT_EQ(CountOf("StartReplay"), 2);
}

TEST_F(MainWindow, ADisplayChangeThatCannotBeConfiguredStartsNoReplay) {
    fake::FailCall("Configure", 1, -1);
    Send(message::displayChange);
    Tick();
    FinishJob();
    EXPECT_EQ(CountOf("StartReplay"), 0);
    EXPECT_EQ(Ui().statusText, u"Not configured");
}

TEST_F(MainWindow, AMonitorUnpluggedDuringARecordingEndsTheRecordingFirst) {
    Send(message::hotKey, 3);
    FinishJob();
    ASSERT_TRUE(GetRecordingStatus().recording);
    const std::size_t before = fake::CallNames().size();
    Send(message::displayChange);
    Tick();
    FinishJob();
    EXPECT_FALSE(GetRecordingStatus().recording);
    const auto all = fake::CallNames();
    std::vector<std::string> calls(all.begin() + static_cast<std::ptrdiff_t>(before), all.end());
    std::erase_if(calls, [](const std::string& call) {
        return call != "StopAll" && call != "Configure" && call != "StartReplay" && call != "StartRecording";
    });
    EXPECT_THAT(calls, ElementsAre("StopAll", "Configure", "StartReplay"));
}

// Closing.

TEST_F(MainWindow, TheCloseBoxHidesTheWindowAndLeavesAJobRunning) {
    gate_.Hold("StartReplay");
    StartReplayJob();
    RunTo("StartReplay");
    ToggleQuickOverlay();
    ShowTrayIcon(*window_);
    Send(message::close);
    EXPECT_FALSE(IsWindowShown(*window_));
    RemoveTrayIcon();
    EXPECT_FALSE(IsOverlayShown());
    EXPECT_FALSE(TheWindows().quitPosted);
    EXPECT_TRUE(Ui().capture.captureJobSlot.IsBusy());
    EXPECT_EQ(CountOf("destroy"), 0);
}

TEST_F(MainWindow, TheCloseBoxEndsTheProgramIfTheSettingSaysSo) {
    CurrentSettings().minimizeToTray = false;
    ToggleQuickOverlay();
    Send(message::close);
    EXPECT_FALSE(IsOverlayShown());
    EXPECT_EQ(CountOf("destroy"), 1);
    EXPECT_TRUE(TheWindows().quitPosted);
    EXPECT_EQ(TheWindows().quitCode, 0);
}

TEST_F(MainWindow, ExitEndsTheProgramRegardlessOfTheCloseBox) {
    ToggleQuickOverlay();
    ExitProgram();
    EXPECT_EQ(CountOf("HideWindow"), 2);
    EXPECT_FALSE(IsOverlayShown());
    EXPECT_EQ(CountOf("destroy"), 1);
    EXPECT_TRUE(TheWindows().quitPosted);
    EXPECT_EQ(Ui().mainWindow, nullptr);
    TheWindows().quitPosted = false;
    ExitProgram();  // there is no window any more
    EXPECT_TRUE(TheWindows().quitPosted);
    EXPECT_EQ(CountOf("destroy"), 1);
}

TEST_F(MainWindow, TheShutdownHasItsOrder) {
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
    OpenShortcutEditor(1);
    const std::size_t before = fake::CallLog().size();
    ExitProgram();
    const auto all = fake::CallLog();
    std::vector<std::string> calls(all.begin() + static_cast<std::ptrdiff_t>(before), all.end());
    std::erase(calls, "DefaultProcedure");
    EXPECT_THAT(calls,
                ElementsAre("HideWindow main", "HideWindow overlay", "destroy main", "destroy ZVShortcutEditor315",
                            "StopTimer 42", "StopTimer 43", "StopAll", "UnregisterGlobalKey 1", "UnregisterGlobalKey 2",
                            "UnregisterGlobalKey 3", "UnregisterGlobalKey 4", "PostQuit"));
    EXPECT_EQ(Ui().shortcutEditor.window, nullptr);
    EXPECT_FALSE(savedAtStop);
    EXPECT_TRUE(savedAtQuit);
    EXPECT_FALSE(markerAtQuit);
    EXPECT_TRUE(TheWindows().keys.empty());
    EXPECT_TRUE(TheWindows().timers.empty());
}

TEST_F(MainWindow, AShutdownThatThrowsStillEndsTheProgram) {
    fake::ThrowInCall("StopAll", 1);
    EXPECT_THROW(ExitProgram(), std::bad_alloc);
    EXPECT_TRUE(TheWindows().quitPosted);
    EXPECT_EQ(Ui().mainWindow, nullptr);
}

TEST_F(MainWindow, AJobThatIsRequestedAfterTheShutdownIsRefused) {
    Engine().replayRunning = true;
    ExitProgram();
    Engine().replayRunning = true;
    for (const auto command : {SaveReplay, ToggleRecording, StartReplayJob}) {
        Ui().statusText.clear();
        command();
        EXPECT_EQ(Ui().statusText, u"Zorvel is closing.");
        EXPECT_FALSE(Ui().capture.captureJobSlot.IsBusy());
    }
    EXPECT_EQ(CountOf("SaveReplayClip") + CountOf("StartRecording") + CountOf("StartReplay"), 0);
}

TEST_F(MainWindow, TheShutdownWaitsForAJobBeforeItStopsTheEngine) {
    gate_.Hold("StartReplay");
    StartReplayJob();
    RunTo("StartReplay");
    bool jobEnded = false;
    bool timersStopped = false;
    onCall_ = [&](const std::string& name, int) {
        if (name == "StopAll") {
            jobEnded = Ui().capture.captureJobSlot.IsFinished();
            timersStopped = TheWindows().timers.empty();
        }
    };
    std::thread release = OpenGateUnless("StopAll");
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
            pollEnded = Ui().capture.capturePollSlot.IsFinished();
        }
    };
    std::thread release = OpenGateUnless("StopAll");
    ExitProgram();
    release.join();
    EXPECT_TRUE(pollEnded);
}

// Bounds, painting, mouse and keys.

TEST_F(MainWindow, HasAMinimumSize) {
    MinMaxInfo limits{{1, 2}, {3, 4}, {5, 6}, {7, 8}, {9, 10}};
    EXPECT_EQ(Send(message::getMinMaxInfo, 0, reinterpret_cast<std::intptr_t>(&limits)), 0);
    EXPECT_EQ(limits.minTrackSize, (Point{900, 600}));
    EXPECT_EQ(limits.maxTrackSize, (Point{9, 10}));
    EXPECT_EQ(limits.maxSize, (Point{3, 4}));
}

TEST_F(MainWindow, ASizeChangeEndsAPressAndClearsTheTargets) {
    Ui().mainState.pressedId = 3;
    Ui().mainState.focusId = 3;
    Ui().mainState.targets = {{{0, 0, 10, 10}, nullptr, 3}};
    Record().invalidations = 0;
    Send(message::size, 0, At(1000, 700));
    EXPECT_EQ(Ui().mainState.pressedId, noTarget);
    EXPECT_THAT(Ui().mainState.targets, testing::IsEmpty());
    EXPECT_EQ(Ui().mainState.focusId, 3);
    EXPECT_EQ(Record().invalidations, 1);
}

TEST_F(MainWindow, LosingTheFocusEndsAPressAndReachesTheSystem) {
    Ui().mainState.pressedId = 3;
    const int before = CountOf("DefaultProcedure");
    Send(message::killFocus);
    EXPECT_EQ(Ui().mainState.pressedId, noTarget);
    EXPECT_EQ(CountOf("DefaultProcedure"), before + 1);
}

TEST_F(MainWindow, IsPaintedByItsPagesAtItsSize) {
    Record().bounds = {100, 50, 1000, 650};
    static int paints = 0;
    paints = 0;
    Ui().mainState.pages = [](Canvas&) { ++paints; };
    EXPECT_EQ(Send(message::paint), 0);
    EXPECT_EQ(paints, 1);
    EXPECT_EQ(Record().pixelWidth, 900);
    EXPECT_EQ(Record().pixelHeight, 600);
    EXPECT_DOUBLE_EQ(Ui().mainState.scale, 900.0 / 1060);
    EXPECT_GE(Ui().mainState.logicalWidth, 1059);
}

TEST_F(MainWindow, NothingIsErasedBeforeAPaint) { EXPECT_EQ(Send(message::eraseBackground), 1); }

TEST_F(MainWindow, ADpiChangeAppliesTheSuggestedBounds) {
    const Rectangle suggested{10, 20, 1840, 1220};
    EXPECT_EQ(Send(message::dpiChanged, 144U << 16U | 144U, reinterpret_cast<std::intptr_t>(&suggested)), 0);
    EXPECT_EQ(Record().bounds, suggested);
    EXPECT_EQ(CountOf("PlaceWindow"), 1);
    EXPECT_EQ(CountOf("ShowTopmostAt"), 0);
}

TEST_F(MainWindow, APressWhoseReleaseWasLostEndsAtTheNextMove) {
    int done = 0;
    Ui().mainState.targets = {{{10, 10, 20, 20}, [&] { ++done; }, 5}};
    Send(message::leftButtonDown, mouseState::leftButton, At(15, 15));
    Send(message::mouseMove, mouseState::leftButton, At(16, 15));
    EXPECT_EQ(Ui().mainState.pressedId, 5);
    Send(message::mouseMove, 0, At(15, 15));
    EXPECT_EQ(Ui().mainState.pressedId, noTarget);
    EXPECT_FALSE(Record().hasMouse);
    Send(message::leftButtonUp, 0, At(15, 15));
    EXPECT_EQ(done, 0);
}

TEST_F(MainWindow, MouseMessagesAreConsumedAndSetCursorReturnsOne) {
    int done = 0;
    Ui().mainState.targets = {{{10, 10, 20, 20}, [&] { ++done; }, 5}};
    const int before = CountOf("DefaultProcedure");
    EXPECT_EQ(Send(message::mouseMove, 0, At(15, 15)), 0);
    EXPECT_EQ(Send(message::setCursor, 0, hitCode::client), 1);
    EXPECT_EQ(Record().cursor, CursorShape::Hand);
    EXPECT_EQ(Send(message::leftButtonDown, 0, At(15, 15)), 0);
    EXPECT_EQ(Send(message::leftButtonUp, 0, At(15, 15)), 0);
    EXPECT_EQ(done, 1);
    EXPECT_EQ(CountOf("DefaultProcedure"), before);
    constexpr std::intptr_t caption = 2;
    Send(message::setCursor, 0, caption);
    EXPECT_EQ(CountOf("DefaultProcedure"), before + 1) << "beyond its client area the pointer is the system's";
}

class MainWindowKeys : public MainWindow {
protected:
    static constexpr std::uintptr_t tab = 9, enter = 13, escape = 27, space = 32;
    MainWindowKeys() {
        for (const std::int32_t id : {7, 8, 9}) {
            Ui().mainState.targets.push_back({{}, [this, id] { done_.push_back(id); }, id});
        }
        Record().invalidations = 0;
    }
    std::int32_t FocusAfter(std::uintptr_t key) {
        EXPECT_EQ(Send(message::keyDown, key), 0);
        return Ui().mainState.focusId;
    }
    std::vector<std::int32_t> done_;
};

TEST_F(MainWindowKeys, TabCyclesTheTargetsInTheOrderOfThePage) {
    EXPECT_EQ(FocusAfter(tab), 7);
    EXPECT_EQ(Record().invalidations, 1);
    EXPECT_EQ(FocusAfter(tab), 8);
    EXPECT_EQ(FocusAfter(tab), 9);
    EXPECT_EQ(FocusAfter(tab), 7);
    TheWindows().heldModifiers = keyModifier::shift;
    EXPECT_EQ(FocusAfter(tab), 9);
    EXPECT_EQ(FocusAfter(tab), 8);
}

TEST_F(MainWindowKeys, ShiftTabWithoutAFocusSelectsTheLastButOne) {
    TheWindows().heldModifiers = keyModifier::shift;
    EXPECT_EQ(FocusAfter(tab), 8);
}

TEST_F(MainWindowKeys, TabWithoutTargetsIsLeftToTheSystem) {
    Ui().mainState.targets.clear();
    const int before = CountOf("DefaultProcedure");
    EXPECT_EQ(FocusAfter(tab), noTarget);
    EXPECT_EQ(CountOf("DefaultProcedure"), before + 1);
    EXPECT_EQ(Record().invalidations, 0);
}

TEST_F(MainWindowKeys, EnterAndSpaceActivateTheFocusedTarget) {
    Ui().mainState.focusId = 8;
    FocusAfter(enter);
    FocusAfter(space);
    EXPECT_THAT(done_, ElementsAre(8, 8));
    Ui().mainState.focusId = noTarget;
    FocusAfter(enter);
    EXPECT_THAT(done_, ElementsAre(8, 8));
}

TEST_F(MainWindowKeys, EscapeHidesTheOverlayAndEndsAPress) {
    ToggleQuickOverlay();
    Ui().mainState.pressedId = 8;
    Ui().mainState.focusId = 9;
    EXPECT_EQ(FocusAfter(escape), 9);
    EXPECT_FALSE(IsOverlayShown());
    EXPECT_EQ(Ui().mainState.pressedId, noTarget);
    EXPECT_TRUE(IsWindowShown(*window_));
}

TEST_F(MainWindowKeys, OtherKeysAreLeftToTheSystem) {
    const int before = CountOf("DefaultProcedure");
    Send(message::keyDown, 65);
    Send(message::systemKeyDown, tab);
    EXPECT_EQ(CountOf("DefaultProcedure"), before + 2);
    EXPECT_EQ(Ui().mainState.focusId, noTarget);
}

TEST_F(MainWindow, IsRepaintedByEachTickWhileItIsVisible) {
    Record().invalidations = 0;
    Tick();
    EXPECT_EQ(Record().invalidations, 1);
    Record().icon = true;
    Tick();
    EXPECT_EQ(Record().invalidations, 1) << "an icon shows nothing";
    Record().icon = false;
    HideWindow(*window_);
    Tick();
    EXPECT_EQ(Record().invalidations, 1);
}

TEST_F(MainWindow, TheTickRepaintsAnOpenOverlayWhoseTilesHaveChanged) {
    ToggleQuickOverlay();
    Tick();
    AwaitPoll();
    OverlayRecord().invalidations = 0;
    Tick();
    EXPECT_EQ(OverlayRecord().invalidations, 0);
    AwaitPoll();
    Engine().replayRunning = true;
    Tick();
    EXPECT_EQ(OverlayRecord().invalidations, 1);
    AwaitPoll();
    HideOverlay();
    Engine().replayRunning = false;
    Tick();
    EXPECT_EQ(OverlayRecord().invalidations, 1) << "a hidden one is painted when it is opened";
}

TEST_F(MainWindow, TheTickShowsTheBadgeOverAGameAndHidesItElsewhere) {
    MakeNotices();
    PutGameInFront();
    Tick();
    EXPECT_FALSE(IsWindowShown(*badge_)) << "nothing is captured";
    AwaitPoll();
    Engine().replayRunning = true;
    Tick();
    EXPECT_TRUE(IsWindowShown(*badge_));
    AwaitPoll();
    fake::TheFront() = {};
    Tick();
    EXPECT_FALSE(IsWindowShown(*badge_));
}

TEST_F(MainWindow, AResultOfTheFastTimerRepaintsBothWindowsAndTheBadge) {
    MakeNotices();
    PutGameInFront();
    Engine().replayRunning = true;
    StartReplayJob();
    AwaitJob();
    Record().invalidations = 0;
    OverlayRecord().invalidations = 0;
    Collect();
    EXPECT_GE(Record().invalidations, 1);
    EXPECT_GE(OverlayRecord().invalidations, 1);
    EXPECT_TRUE(IsWindowShown(*badge_));
}

TEST_F(MainWindow, AFastTimerThatCollectsNothingPaintsNothing) {
    MakeNotices();
    PutGameInFront();
    Engine().replayRunning = true;
    Record().invalidations = 0;
    OverlayRecord().invalidations = 0;
    Collect();
    EXPECT_EQ(Record().invalidations, 0);
    EXPECT_EQ(OverlayRecord().invalidations, 0);
    EXPECT_FALSE(IsWindowShown(*badge_));
}

TEST_F(MainWindow, AStatusIsShownInTheLineTheNotificationAndBothWindows) {
    MakeNotices();
    Record().invalidations = 0;
    OverlayRecord().invalidations = 0;
    ShowStatus(u"Replay saved: x");
    EXPECT_EQ(Ui().statusText, u"Replay saved: x");
    EXPECT_TRUE(IsWindowShown(*toast_));
    EXPECT_EQ(Ui().toast.text, u"Clip saved");
    EXPECT_EQ(Record().invalidations, 1);
    EXPECT_EQ(OverlayRecord().invalidations, 1);
}

TEST_F(MainWindow, WithoutNotificationsTheStatusLineStillChanges) {
    MakeNotices();
    CurrentSettings().notifications = false;
    ShowStatus(u"Replay saved: x");
    EXPECT_EQ(Ui().statusText, u"Replay saved: x");
    EXPECT_FALSE(IsWindowShown(*toast_));
}

TEST_F(MainWindow, IsRestoredFromHiddenAndFromMinimized) {
    HideWindow(*window_);
    Record().icon = true;
    ShowMainWindow();
    EXPECT_TRUE(IsWindowShown(*window_));
    EXPECT_FALSE(IsWindowMinimized(*window_));
    EXPECT_EQ(TheWindows().inFront, window_.get());
    window_.reset();
    ShowMainWindow();  // there is no window any more
    EXPECT_EQ(CountOf("ShowInFront"), 1);
}

TEST_F(MainWindow, OtherMessagesAreLeftToTheSystem) {
    const int before = CountOf("DefaultProcedure");
    Send(message::null);
    Send(0x8017);
    EXPECT_EQ(CountOf("DefaultProcedure"), before + 2);
}

}  // namespace
}  // namespace zv
