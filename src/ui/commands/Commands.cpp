#include "ui/commands/Commands.h"

#include <optional>
#include <utility>

#include "capture/CacheFolder.h"
#include "core/AppCore.h"
#include "core/Settings.h"
#include "core/SettingsValidation.h"
#include "library/CapturePath.h"
#include "library/Screenshot.h"
#include "platform/Clock.h"
#include "platform/Environment.h"
#include "platform/FileDialogs.h"
#include "platform/Session.h"
#include "ui/commands/CaptureJobs.h"
#include "ui/commands/CaptureSettings.h"
#include "ui/commands/FastJobs.h"
#include "ui/commands/Hotkeys.h"
#include "ui/commands/Library.h"
#include "ui/commands/Notifications.h"
#include "ui/commands/RemoteCommands.h"
#include "ui/commands/Status.h"
#include "ui/kit/Colors.h"
#include "ui/navigation/Navigation.h"
#include "ui/state/CurrentGame.h"
#include "ui/state/Engine.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

/// The replay settings at the time of a command, for the worker that starts the replay.
struct ReplayOptions {
    bool enable = CurrentSettings().instantReplay;
    std::int32_t seconds = static_cast<std::int32_t>(CurrentSettings().replaySeconds);
};

bool JobOrRecordingRuns() { return Ui().capture.captureJobSlot.IsBusy() || GetRecordingStatus().recording; }

void ApplySettingsToWindows() {
    if (AppWindow* overlay = Ui().overlayWindow) {
        SetColorKey(*overlay, color::overlayKey);
    }
    Ui().monitorLabel.clear();
    InvalidatePages();
}

/// Shows the reason if `refused` is true. Returns `refused`.
bool RefusedWith(bool refused, const Text& reason) {
    if (refused) {
        ShowStatus(reason);
    }
    return refused;
}

bool MayChooseRuntime() {
    return !RefusedWith(JobOrRecordingRuns(), u"Finish the capture operation before choosing a runtime.");
}

/// In this session and the next ones.
void UseRuntime(const Text& ffmpegPath) {
    CurrentSettings().ffmpegPath = ffmpegPath;
    TrySaveSettings();  // SaveSettingsAndRefresh reports a failure
    SetEnvironmentValue(u"ZV_FFMPEG", ffmpegPath);
    SaveSettingsAndRefresh(u"Settings saved");
}

bool RefusedByObstacle() { return RefusedWith(!CaptureObstacle().empty(), Text(CaptureObstacle())); }

}  // namespace

void SaveReplay() {
    if (RefusedByObstacle() ||
        RefusedWith(!Engine().replayRunning, u"Replay is paused. Turn on automatic replay in Settings > Capture.")) {
        return;
    }
    CaptureJob([folder = CurrentGameFolder()] {
        Engine().SaveReplayClip(BuildCapturePath(folder, replayStem, videoExtension));
        return Engine().statusText;
    });
}

void ToggleRecording() {
    if (RefusedByObstacle() ||
        RefusedWith(Ui().capture.captureJobSlot.IsBusy(), u"Please wait for the current capture operation.")) {
        return;
    }
    if (Engine().state == EngineState::Recording) {
        CaptureJob([] {
            Engine().FinishRecording();
            return Engine().statusText;
        });
        return;
    }
    const Text folder = CurrentGameFolder();
    Ui().capture.recordingStartTime = SteadyNs();
    CaptureJob([folder] {
        Engine().StartRecording(BuildCapturePath(folder, recordingStem, videoExtension));
        return Engine().statusText;
    });
}

void TakeScreenshot() {
    if (RefusedByObstacle() || RefusedWith(Ui().screenshot.screenshotSlot.IsBusy(), u"Saving screenshot...")) {
        return;
    }
    Ui().screenshot.reopenOverlayAfterScreenshot = IsOverlayShown();
    HideOverlay();
    HideBadge();
    HideToast();
    FlushScreen();
    auto task = [folder = CurrentGameFolder(), monitor = CurrentSettings().monitorDevice] {
        return SaveScreenshot(folder, monitor);
    };
    ShowStatus(u"Saving screenshot...");
    ArmCollectionTimer();
    Ui().screenshot.screenshotSlot.Start(std::move(task), Text(screenshotBrokenOff));
}

bool CollectScreenshot() {
    if (!Ui().screenshot.screenshotSlot.IsFinished()) {
        return false;
    }
    const Text result = Ui().screenshot.screenshotSlot.Take();
    QueueMediaRefresh();
    if (std::exchange(Ui().screenshot.reopenOverlayAfterScreenshot, false)) {
        ReopenOverlay();
    }
    ShowStatus(result);
    AnswerRemoteCommand(Ui().screenshot.screenshotReply, result);
    return true;
}

void StartReplayJob() {
    CaptureJob([replay = ReplayOptions{}] {
        RemoveLeftovers(Engine().cacheDir);  // first, because the new ring needs the disk
        Engine().StartReplay(replay.enable, replay.seconds);
        return Engine().statusText;
    });
}

void RestartCaptureJob() {
    CaptureJob([config = MakeCaptureConfig(), replay = ReplayOptions{}] {
        Engine().StopAll();
        if (Engine().Configure(config)) {
            Engine().StartReplay(replay.enable, replay.seconds);
        }
        return Engine().statusText;
    });
}

void SaveSettingsAndRefresh(const Text& message) {
    if (RefusedWith(Ui().capture.captureJobSlot.IsBusy(), u"Please wait for the capture operation.")) {
        return;
    }
    ValidateSettings(CurrentSettings());
    const CaptureConfig config = MakeCaptureConfig();
    const bool saved = TrySaveSettings();
    ApplySettingsToWindows();
    if (saved) {
        AddActivity(u"Settings", message);
    }
    CaptureJob([config, saved, replay = ReplayOptions{}] {
        if (Engine().Configure(config)) {
            Engine().StartReplay(replay.enable, replay.seconds);
        }
        return saved ? Engine().statusText : Text(settingsNotSaved) + u" " + Engine().statusText;
    });
}

void ApplyCaptureChange(const std::function<void()>& change) {
    if (RefusedWith(Ui().capture.captureJobSlot.IsBusy(),
                    u"Applying a capture change. Navigation is still available.") ||
        RefusedWith(GetRecordingStatus().recording, u"Stop the manual recording before changing capture settings.")) {
        return;
    }
    change();
    Ui().capture.secondsReady = 0;
    SaveSettingsAndRefresh(u"Settings saved");
}

bool MayChooseMonitor() {
    return !RefusedWith(JobOrRecordingRuns(),
                        u"Wait for capture changes, or stop manual recording, before switching monitor.");
}

void ChooseRuntime() {
    AppWindow* window = Ui().mainWindow;
    if (!MayChooseRuntime() || window == nullptr) {
        return;
    }
    const Text fileName = ffmpegFileName;
    const std::optional<Text> runtime = ChooseFile(*window, u"FFmpeg runtime (" + fileName + u")", fileName);
    // While the dialog was open, a shortcut may have started a job or recording, and the program may have ended.
    if (runtime && Ui().phase == ProgramPhase::Running && MayChooseRuntime()) {
        UseRuntime(*runtime);
    }
}

void RestoreDefaults() {
    if (RefusedWith(JobOrRecordingRuns(), u"Stop the current capture before resetting settings.")) {
        return;
    }
    AppWindow* window = Ui().mainWindow;
    if (window != nullptr) {
        UnregisterHotkeys(*window);
    }
    ResetSettings(CurrentSettings());
    if (window != nullptr) {
        RegisterHotkeys(*window);
    }
    SaveSettingsAndRefresh(u"Zorvel settings restored to defaults");
}

}  // namespace zv
