#include "ui/commands/Commands.h"

#include <utility>

#include "core/AppCore.h"
#include "core/Settings.h"
#include "core/SettingsValidation.h"
#include "library/CapturePath.h"
#include "library/Screenshot.h"
#include "platform/Clock.h"
#include "platform/Environment.h"
#include "ui/commands/CaptureJobs.h"
#include "ui/commands/Hotkeys.h"
#include "ui/kit/Colors.h"
#include "ui/kit/HitTargets.h"
#include "ui/state/CaptureSettings.h"
#include "ui/state/UiGlobals.h"
#include "ui/windows/Badge.h"
#include "ui/windows/Notifications.h"
#include "ui/windows/Overlay.h"

namespace zv {
namespace {

/// How the replay is wanted, copied at the moment of a command for the worker that starts it.
struct ReplayWish {
    bool enable = CurrentSettings().instantReplay;
    std::int32_t seconds = static_cast<std::int32_t>(CurrentSettings().replaySeconds);
};

bool JobOrRecordingRuns() { return Ui().captureJobSlot.IsBusy() || GetRecordingStatus().recording; }

/// The windows follow the settings.
void ShowNewSettings() {
    if (AppWindow* overlay = Ui().overlayWindow) {
        SetColorKey(*overlay, color::overlayKey);
    }
    Ui().monitorLabel.clear();
    InvalidatePages();
}

bool RefusedWith(bool refused, const Text& reason) {
    if (refused) {
        ShowStatus(reason);
    }
    return refused;
}

}  // namespace

void SaveReplay() {
    if (RefusedWith(!Engine().replayRunning, u"Replay is paused. Turn on automatic replay in Settings > Capture.")) {
        return;
    }
    CaptureJob([folder = CurrentGameFolder()] {
        Engine().SaveReplayClip(BuildCapturePath(folder, replayStem, videoExtension));
        return Engine().statusText;
    });
}

void ToggleRecording() {
    if (RefusedWith(Ui().captureJobSlot.IsBusy(), u"Please wait for the current capture operation.")) {
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
    Ui().recordingStartTime = SteadyNs();
    CaptureJob([folder] {
        Engine().StartRecording(BuildCapturePath(folder, recordingStem, videoExtension));
        return Engine().statusText;
    });
}

void TakeScreenshot() {
    UiGlobals& ui = Ui();
    if (RefusedWith(ui.screenshotSlot.IsBusy(), u"Saving screenshot...")) {
        return;
    }
    ui.reopenOverlayAfterScreenshot = IsOverlayShown();
    HideOverlay();
    HideBadge();
    HideToast();
    FlushScreen();
    auto task = [folder = CurrentGameFolder(), monitor = CurrentSettings().monitorDevice] {
        return SaveScreenshot(folder, monitor);
    };
    ShowStatus(u"Saving screenshot...");
    if (ui.mainWindow != nullptr) {
        StartTimer(*ui.mainWindow, collectionTimer, collectionPeriodMs);
    }
    ui.screenshotSlot.Start(std::move(task), Text(screenshotBrokenOff));
}

bool CollectScreenshot() {
    if (!Ui().screenshotSlot.IsFinished()) {
        return false;
    }
    const Text result = Ui().screenshotSlot.Take();
    // A scan of the library follows, since there may be a new file.
    if (std::exchange(Ui().reopenOverlayAfterScreenshot, false) && Ui().overlayWindow != nullptr) {
        ShowWithoutActivating(*Ui().overlayWindow);
        Ui().lastOverlayActivity = TickMs();
    }
    ShowStatus(result);
    return true;
}

void StartReplayJob() {
    CaptureJob([wish = ReplayWish{}] {
        Engine().StartReplay(wish.enable, wish.seconds);
        return Engine().statusText;
    });
}

void RestartCaptureJob() {
    CaptureJob([config = MakeCaptureConfig(), wish = ReplayWish{}] {
        Engine().StopAll();
        if (Engine().Configure(config)) {
            Engine().StartReplay(wish.enable, wish.seconds);
        }
        return Engine().statusText;
    });
}

void SaveSettingsAndRefresh(const Text& message) {
    if (RefusedWith(Ui().captureJobSlot.IsBusy(), u"Please wait for the capture operation.")) {
        return;
    }
    ValidateSettings(CurrentSettings());
    const CaptureConfig config = MakeCaptureConfig();
    SaveSettings(CurrentSettings());
    ShowNewSettings();
    AddActivity(u"Settings", message);
    CaptureJob([config, wish = ReplayWish{}] {
        if (Engine().Configure(config)) {
            Engine().StartReplay(wish.enable, wish.seconds);
        }
        return Engine().statusText;
    });
}

void ApplyCaptureChange(const std::function<void()>& change) {
    if (RefusedWith(Ui().captureJobSlot.IsBusy(), u"Applying a capture change. Navigation is still available.") ||
        RefusedWith(GetRecordingStatus().recording, u"Stop the manual recording before changing capture settings.")) {
        return;
    }
    change();
    Ui().secondsReady = 0;
    SaveSettingsAndRefresh(u"Settings saved");
}

bool MayChooseMonitor() {
    return !RefusedWith(JobOrRecordingRuns(),
                        u"Wait for capture changes, or stop manual recording, before switching monitor.");
}

bool MayChooseRuntime() {
    return !RefusedWith(JobOrRecordingRuns(), u"Finish the capture operation before choosing a runtime.");
}

void UseRuntime(const Text& ffmpegPath) {
    CurrentSettings().ffmpegPath = ffmpegPath;
    SaveSettings(CurrentSettings());
    SetEnvironmentValue(u"ZV_FFMPEG", ffmpegPath);
    SaveSettingsAndRefresh(u"Settings saved");
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
