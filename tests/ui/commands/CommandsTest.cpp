// The commands, their refusals, and the copies that they pass to the worker.
#include "ui/commands/Commands.h"

#include <fstream>

#include "ui/Interface.h"
#include "ui/commands/CaptureJobs.h"
#include "ui/commands/CaptureSettings.h"
#include "ui/state/CurrentGame.h"
#include "ui/state/Engine.h"
#include "ui/windows/Overlay.h"

namespace zv {
namespace {

using fake::CountOf;
using fake::ReplayStart;
using fake::TheEngine;
using testing::ElementsAre;
using testing::IsEmpty;

class Commands : public Interface {
protected:
    Commands() {
        CurrentSettings().captureRoot = Folder(u"captures");
        OpenMainWindow();
    }
    /// A job that is inside the engine and stays there until the gate opens.
    void OccupyJob() {
        gate_.Hold("StartReplay");
        StartReplayJob();
        RunTo("StartReplay");
    }
    void Foreground(TextView imagePath) { fake::TheFront() = {FrontKind::Known, 99, Text(imagePath)}; }
};

TEST_F(Commands, NameTheObstacleInASessionThatNoProgramCanCapture) {
    const Text obstacle = u"Zorvel cannot capture the screen.";
    fake::TheWindows().captureObstacle = obstacle;
    for (const auto& command : {SaveReplay, ToggleRecording, TakeScreenshot, StartReplayJob, RestartCaptureJob}) {
        Ui().statusText = u"Ready";
        command();
        EXPECT_EQ(Ui().statusText, obstacle);
        EXPECT_FALSE(Ui().capture.captureJobSlot.IsBusy());
        EXPECT_FALSE(Ui().screenshot.screenshotSlot.IsBusy());
    }
    EXPECT_EQ(CountOf("StartReplay") + CountOf("FlushScreen"), 0);
    // The start and each new configuration.
    EXPECT_THAT(Activity(), ElementsAre(u"Capture: " + obstacle, u"Capture: " + obstacle));
}

// Refusals, a row for each.

struct Refusal {
    const char* name;
    bool duringJob;
    bool duringRecording;
    std::function<void()> command;
    Text text;
};

void Nothing() {}

std::vector<Refusal> Refusals() {
    const Text monitor = u"Wait for capture changes, or stop manual recording, before switching monitor.";
    const Text runtime = u"Finish the capture operation before choosing a runtime.";
    const Text restore = u"Stop the current capture before resetting settings.";
    return {
        {"SaveReplay during a job", true, false, SaveReplay, u"Capture operation in progress - please wait."},
        {"ToggleRecording during a job", true, false, ToggleRecording,
         u"Please wait for the current capture operation."},
        {"SaveSettingsAndRefresh during a job", true, false, [] { SaveSettingsAndRefresh(u"x"); },
         u"Please wait for the capture operation."},
        {"ApplyCaptureChange during a job", true, false, [] { ApplyCaptureChange(Nothing); },
         u"Applying a capture change. Navigation is still available."},
        {"ApplyCaptureChange during a recording", false, true, [] { ApplyCaptureChange(Nothing); },
         u"Stop the manual recording before changing capture settings."},
        {"ApplyCaptureChange during both", true, true, [] { ApplyCaptureChange(Nothing); },
         u"Applying a capture change. Navigation is still available."},
        {"monitor chooser during a job", true, false, [] { EXPECT_FALSE(MayChooseMonitor()); }, monitor},
        {"monitor chooser during a recording", false, true, [] { EXPECT_FALSE(MayChooseMonitor()); }, monitor},
        {"ChooseRuntime during a job", true, false, ChooseRuntime, runtime},
        {"ChooseRuntime during a recording", false, true, ChooseRuntime, runtime},
        {"RestoreDefaults during a job", true, false, RestoreDefaults, restore},
        {"RestoreDefaults during a recording", false, true, RestoreDefaults, restore},
    };
}

class RefusedCommands : public Commands, public testing::WithParamInterface<std::size_t> {};

TEST_P(RefusedCommands, ShowTheReasonAndChangeNothing) {
    const Refusal row = Refusals()[GetParam()];
    SCOPED_TRACE(row.name);
    Engine().replayRunning = true;
    if (row.duringJob) {
        OccupyJob();
    }
    if (row.duringRecording) {
        Engine().state = EngineState::Recording;
    }
    const Settings before = CurrentSettings();
    const auto callsBefore = fake::CallNames();
    row.command();
    EXPECT_EQ(Ui().statusText, row.text);
    EXPECT_EQ(CurrentSettings(), before);
    EXPECT_EQ(SettingsBytes(), "");
    auto calls = fake::CallNames();
    std::erase(calls, "LookUpFrontWindow");  // the folder of a capture is named before its job is refused
    EXPECT_EQ(calls, callsBefore);
    EXPECT_EQ(Ui().capture.captureJobSlot.IsBusy(), row.duringJob);
    EXPECT_THAT(Activity(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Table, RefusedCommands, testing::Range(std::size_t{0}, Refusals().size()));

TEST_F(Commands, SavingWithoutAReplayIsRefused) {
    SaveReplay();
    EXPECT_EQ(Ui().statusText, u"Replay is paused. Turn on automatic replay in Settings > Capture.");
    EXPECT_FALSE(Ui().capture.captureJobSlot.IsBusy());
}

TEST_F(Commands, TheMonitorMayBeChosenWhileNothingRuns) {
    EXPECT_TRUE(MayChooseMonitor());
    EXPECT_EQ(Ui().statusText, u"Ready");
}

// Saving.

TEST_F(Commands, ADoublePressOfSaveWritesOneFile) {
    Engine().replayRunning = true;
    gate_.Hold("SaveReplayClip");
    SaveReplay();
    RunTo("SaveReplayClip");
    SaveReplay();
    EXPECT_EQ(Ui().statusText, u"Capture operation in progress - please wait.");
    gate_.Open();
    FinishJob();
    EXPECT_EQ(TheEngine().clips.size(), 1U);
    EXPECT_EQ(Ui().statusText, u"Replay saved: " + TheEngine().clips[0]);
}

TEST_F(Commands, AClipIsSavedForTheGameInFrontAtTheTimeOfTheCommand) {
    Engine().replayRunning = true;
    gate_.Hold("SaveReplayClip");
    Foreground(u"C:\\Games\\r5apex.exe");
    SaveReplay();
    Foreground(u"C:\\Games\\cs2.exe");
    CurrentSettings().captureRoot = Folder(u"elsewhere");
    gate_.Open();
    FinishJob();
    const Text folder = JoinPath(Folder(u"captures"), u"Apex Legends");
    EXPECT_THAT(TheEngine().clips, ElementsAre(JoinPath(folder, u"ZV_Replay_2026-03-14_15-09-26-535.mp4")));
    EXPECT_TRUE(std::filesystem::is_directory(ToPath(folder)));
    EXPECT_EQ(Ui().gameName, u"Apex Legends");
}

TEST_F(Commands, AnUnknownForegroundKeepsTheLastGame) {
    Foreground(u"/games/r5apex");
    EXPECT_EQ(CurrentGameFolder(), JoinPath(Folder(u"captures"), u"Apex Legends"));
    fake::TheFront() = {FrontKind::Own, 1, u""};
    EXPECT_EQ(CurrentGameFolder(), JoinPath(Folder(u"captures"), u"Apex Legends"));
    fake::TheFront() = {FrontKind::None, 0, u""};
    EXPECT_EQ(CurrentGameFolder(), JoinPath(Folder(u"captures"), u"Apex Legends"));
    fake::TheFront() = {FrontKind::Unknown, 5, u""};
    EXPECT_EQ(CurrentGameFolder(), JoinPath(Folder(u"captures"), u"Desktop"));
    EXPECT_FALSE(std::filesystem::exists(ToPath(Folder(u"captures"))));
}

TEST_F(Commands, AJobWaitsForAPollInFlightAndDropsItsResult) {
    Engine().replayRunning = true;
    TheEngine().pollResult = {12, true, u"Replay encoder stopped unexpectedly."};
    gate_.Hold("PollCapture");
    Tick();
    RunTo("PollCapture");
    SaveReplay();
    EXPECT_FALSE(Ui().capture.capturePollSlot.IsBusy());
    EXPECT_FALSE(gate_.AwaitArrival("SaveReplayClip", briefly)) << "the job waits for the poll";
    gate_.Open();
    FinishJob();
    EXPECT_EQ(CountOf("SaveReplayClip"), 1);
    // The result of the poll is dropped.
    EXPECT_EQ(Ui().capture.secondsReady, 0);
    EXPECT_THAT(Ui().statusText, testing::Truly([](const Text& text) { return text.starts_with(u"Replay saved: "); }));
    EXPECT_THAT(Activity(), ElementsAre(u"Capture: " + Ui().statusText));
}

TEST_F(Commands, AJobThatThrowsShowsAFixedText) {
    Engine().replayRunning = true;
    fake::ThrowInCall("SaveReplayClip", 1);
    SaveReplay();
    FinishJob();
    EXPECT_EQ(Ui().statusText, u"Capture operation failed. Check disk space and runtime files.");
    EXPECT_THAT(Activity(), ElementsAre(u"Capture: Capture operation failed. Check disk space and runtime files."));
}

TEST_F(Commands, AFailureOfTheEngineShowsItsStatus) {
    Engine().replayRunning = true;
    fake::FailCall("SaveReplayClip", 1, -1);
    SaveReplay();
    FinishJob();
    EXPECT_EQ(Ui().statusText, u"Replay not saved");
}

// Recording.

TEST_F(Commands, RecordingStartsAndEndsWithTheSameCommand) {
    fake::TheClock().nowNs = 5'000'000'000;
    Foreground(u"C:\\Games\\Foo-Win64-Shipping.exe");
    ToggleRecording();
    EXPECT_EQ(Ui().capture.recordingStartTime, 5'000'000'000);
    FinishJob();
    EXPECT_EQ(Ui().statusText, u"Recording started");
    EXPECT_THAT(TheEngine().recordings, ElementsAre(JoinPath(JoinPath(Folder(u"captures"), u"Foo"),
                                                             u"ZV_Recording_2026-03-14_15-09-26-535.mp4")));
    fake::TheClock().nowNs = 7'999'999'999;
    EXPECT_TRUE(GetRecordingStatus().recording);
    EXPECT_EQ(GetRecordingStatus().elapsedSeconds, 2);
    EXPECT_EQ(GetRecordingStatus().path, u"");
    ToggleRecording();
    FinishJob();
    EXPECT_EQ(Ui().statusText, u"Recording saved");
    EXPECT_EQ(CountOf("StartRecording"), 1);
    EXPECT_EQ(CountOf("FinishRecording"), 1);
    EXPECT_FALSE(GetRecordingStatus().recording);
    EXPECT_EQ(GetRecordingStatus().elapsedSeconds, 0);
}

TEST_F(Commands, AFinishedJobRefusesARecordingUntilItHasBeenCollected) {
    StartReplayJob();
    AwaitJob();
    ToggleRecording();
    EXPECT_EQ(Ui().statusText, u"Please wait for the current capture operation.");
    EXPECT_EQ(Ui().capture.recordingStartTime, 0);
    Collect();
    ToggleRecording();
    FinishJob();
    EXPECT_EQ(Ui().statusText, u"Recording started");
}

// Settings.

TEST_F(Commands, ReplaySettingsAreCopiedAtTheTimeOfTheCommand) {
    CurrentSettings().instantReplay = true;
    CurrentSettings().replaySeconds = 45;
    gate_.Hold("StartReplay");
    StartReplayJob();
    CurrentSettings().instantReplay = false;
    CurrentSettings().replaySeconds = 90;
    gate_.Open();
    FinishJob();
    EXPECT_THAT(TheEngine().replayStarts, ElementsAre(ReplayStart{true, 45}));
    EXPECT_EQ(Ui().statusText, u"Replay on");
}

TEST_F(Commands, ASettingsChangeIsValidatedSavedLoggedAndApplied) {
    Ui().capture.secondsReady = 30;
    CurrentSettings().theme = u"Zorvel Blue";
    gate_.Hold("Configure");
    ApplyCaptureChange([] {
        CurrentSettings().fps = 144;
        CurrentSettings().replaySeconds = 500;
        CurrentSettings().codec = u"H265";
    });
    EXPECT_EQ(Ui().capture.secondsReady, 0);
    EXPECT_EQ(CurrentSettings().fps, 60U);
    EXPECT_EQ(CurrentSettings().replaySeconds, 300U);
    EXPECT_EQ(CurrentSettings().codec, u"H264");
    EXPECT_EQ(CurrentSettings().theme, u"ZV Purple");
    EXPECT_THAT(SettingsBytes(), testing::HasSubstr("\r\nfps=60\r\n"));
    EXPECT_THAT(SettingsBytes(), testing::HasSubstr("\r\ncodec=H264\r\n"));
    EXPECT_THAT(Activity(), ElementsAre(u"Settings: Settings saved"));
    CurrentSettings().fps = 30;
    CurrentSettings().replaySeconds = 15;
    gate_.Open();
    FinishJob();
    ASSERT_EQ(TheEngine().configs.size(), 1U);
    EXPECT_EQ(TheEngine().configs[0].fps, 60);
    EXPECT_THAT(TheEngine().replayStarts, ElementsAre(ReplayStart{true, 300}));
    EXPECT_THAT(Activity(), ElementsAre(u"Settings: Settings saved", u"Capture: Replay on"));
}

TEST_F(Commands, SettingsThatCannotBeSavedAreReportedAndStillApplied) {
    std::ofstream(ToPath(Folder(u"a file"))) << "in the way";
    fake::TheFolders().localData = Folder(u"a file");
    ApplyCaptureChange([] { CurrentSettings().fps = 30; });
    FinishJob();
    EXPECT_EQ(Ui().statusText, u"Settings could not be saved. Replay on");
    ASSERT_EQ(TheEngine().configs.size(), 1U);
    EXPECT_EQ(TheEngine().configs[0].fps, 30);
    EXPECT_THAT(Activity(), ElementsAre(u"Capture: Settings could not be saved. Replay on"));
    fake::TheDialogs().choice = u"/opt/ffmpeg";
    ChooseRuntime();
    EXPECT_EQ(fake::TheEnvironment().variables[u"ZV_FFMPEG"], u"/opt/ffmpeg");
    FinishJob();
    EXPECT_EQ(Ui().statusText, u"Settings could not be saved. Replay on");
    fake::TheFolders().localData = Folder(u"data");
}

TEST_F(Commands, ASettingsChangeUpdatesTheWindows) {
    WindowOptions options;
    options.procedure = OverlayProc;
    options.frame = WindowFrame::Bare;
    const Owned<AppWindow> overlay = MakeWindow(options);
    fake::WindowRecord& record = fake::RecordOf(*overlay);
    record.invalidations = 0;
    fake::RecordOf(*window_).invalidations = 0;
    Ui().monitorLabel = u"the old one";
    SaveSettingsAndRefresh(u"Settings saved");
    EXPECT_EQ(record.colorKey, 0x030201U);
    EXPECT_EQ(record.invalidations, 1);
    EXPECT_EQ(fake::RecordOf(*window_).invalidations, 1);
    EXPECT_EQ(Ui().monitorLabel, u"");
    FinishJob();
}

TEST_F(Commands, ARefusedConfigurationStartsNoReplay) {
    fake::FailCall("Configure", 1, -1);
    SaveSettingsAndRefresh(u"Settings saved");
    FinishJob();
    EXPECT_EQ(CountOf("StartReplay"), 0);
    EXPECT_EQ(Ui().statusText, u"Not configured");
}

TEST_F(Commands, SettingsThatChangeNothingRunAJobThatShowsTheEnginesOldStatusAgain) {
    Engine().replayRunning = true;
    SaveReplay();
    FinishJob();
    const Text saved = u"Replay saved: " + TheEngine().clips.at(0);
    ASSERT_EQ(Ui().statusText, saved);
    Ui().statusText.clear();
    TheEngine().unchanged = true;
    SaveSettingsAndRefresh(u"Settings saved");
    FinishJob();
    EXPECT_EQ(CountOf("Configure"), 1);
    EXPECT_EQ(Ui().statusText, saved);
}

TEST_F(Commands, TheConfigurationIsTheSettingsWithTheOneCodecAndEncoder) {
    Settings& settings = CurrentSettings();
    settings.width = 3840;
    settings.height = 2160;
    settings.fps = 30;
    settings.bitrateMbps = 77;
    settings.codec = u"AV1";
    settings.encoder = u"Software";
    settings.gameAudioEnabled = false;
    settings.micEnabled = true;
    settings.monitorDevice = u"DISPLAY2";
    settings.captureCursor = true;
    CaptureConfig expected;
    expected.width = 3840;
    expected.height = 2160;
    expected.fps = 30;
    expected.bitrateMbps = 77;
    expected.codec = u"H264";
    expected.encoder = u"Auto";
    expected.gameAudioEnabled = false;
    expected.micEnabled = true;
    expected.monitorDevice = u"DISPLAY2";
    expected.captureCursor = true;
    EXPECT_EQ(MakeCaptureConfig(), expected);
    EXPECT_EQ(settings.codec, u"H264");
    EXPECT_EQ(settings.encoder, u"Auto");
}

TEST_F(Commands, ASelectedRuntimeIsSavedExportedAndApplied) {
    fake::TheDialogs().choice = u"/opt/ffmpeg";
    ChooseRuntime();
    EXPECT_EQ(fake::TheDialogs().owner, Ui().mainWindow);
    EXPECT_EQ(fake::TheDialogs().filterName, u"FFmpeg runtime (" + Text(ffmpegFileName) + u")");
    EXPECT_EQ(fake::TheDialogs().pattern, ffmpegFileName);
    EXPECT_EQ(CurrentSettings().ffmpegPath, u"/opt/ffmpeg");
    EXPECT_EQ(fake::TheEnvironment().variables[u"ZV_FFMPEG"], u"/opt/ffmpeg");
    EXPECT_THAT(SettingsBytes(), testing::HasSubstr("\r\nffmpegPath=/opt/ffmpeg\r\n"));
    EXPECT_THAT(Activity(), ElementsAre(u"Settings: Settings saved"));
    FinishJob();
    EXPECT_EQ(CountOf("Configure"), 1);
}

TEST_F(Commands, NoRuntimeIsUsedWithoutAChoiceOrForABusyOrEndedProgram) {
    ChooseRuntime();
    fake::TheDialogs().choice = u"/opt/ffmpeg";
    const auto choose = [this](std::function<void()> whileOpen) {
        fake::TheDialogs().whileOpen = std::move(whileOpen);
        ChooseRuntime();
        EXPECT_EQ(CurrentSettings().ffmpegPath, u"");
        EXPECT_FALSE(fake::TheEnvironment().variables.contains(u"ZV_FFMPEG"));
        EXPECT_EQ(SettingsBytes(), "");
    };
    choose([] { Engine().state = EngineState::Recording; });
    EXPECT_EQ(Ui().statusText, u"Finish the capture operation before choosing a runtime.");
    Engine().state = EngineState::Idle;
    choose([] { Ui().phase = ProgramPhase::Closing; });
    Ui().phase = ProgramPhase::Running;
    Ui().mainWindow = nullptr;
    choose({});
    EXPECT_EQ(CountOf("ChooseFile"), 3);
    Ui().mainWindow = window_.get();
}

TEST_F(Commands, RestoringDefaultsRestoresTheShortcuts) {
    CurrentSettings().fps = 30;
    CurrentSettings().previousCaptureRoots = {u"old"};
    CurrentSettings().bindKeys = {65, 66, 67, 68};
    RestoreDefaults();
    EXPECT_EQ(CurrentSettings().fps, 120U);
    EXPECT_THAT(CurrentSettings().previousCaptureRoots, IsEmpty());
    EXPECT_EQ(fake::TheWindows().keys[1].virtualKey, 88U);
    EXPECT_EQ(fake::TheWindows().keys.size(), 4U);
    EXPECT_THAT(Activity(), ElementsAre(u"Settings: Zorvel settings restored to defaults"));
    FinishJob();
}

}  // namespace
}  // namespace zv
