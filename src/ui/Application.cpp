// The order below is fixed: settings exist before the folders that they name are checked, the engine is configured from
// repaired settings, logging starts after that, and the windows come last. Whatever can block runs later as a job.
#include "ui/Application.h"

#include <optional>

#include "core/AppCore.h"
#include "core/AppFolders.h"
#include "core/SessionMarker.h"
#include "core/Settings.h"
#include "core/SettingsValidation.h"
#include "core/Theme.h"
#include "library/ClipList.h"
#include "platform/Environment.h"
#include "platform/Window.h"
#include "ui/CaptureSettings.h"
#include "ui/Commands.h"
#include "ui/MainWindow.h"
#include "ui/UiGlobals.h"
#include "video/Capabilities.h"
#include "video/Monitors.h"

namespace zv {
namespace {

constexpr char16_t instanceName[] = u"Local\\ZVReelsMax_SingleInstance";

/// The first copy's window comes forward. Settings and logs stay untouched.
void HandOverToFirstCopy() {
    if (!BringOtherCopyForward(mainWindowClass)) {
        ShowInformation(u"Zorvel is already running. Open it from the notification area or exit the older copy first.",
                        u"Zorvel");
    }
}

void ChooseFirstMonitor(Settings& settings) {
    if (!settings.monitorDevice.empty()) {
        return;
    }
    if (const std::optional<MonitorEntry> primary = ResolveMonitor(u"")) {
        settings.monitorDevice = primary->deviceName;
    }
}

/// A start with repairs writes the file twice. The theme decides on the colour before the validation resets its name.
void PrepareSettings() {
    Settings& settings = CurrentSettings();
    LoadSettings(settings);
    Ui().accentColor = ApplyTheme(settings);
    if (!settings.ffmpegPath.empty()) {
        SetEnvironmentValue(u"ZV_FFMPEG", settings.ffmpegPath);
    }
    if (!ValidateSettings(settings).empty()) {
        SaveSettings(settings);
    }
    ChooseFirstMonitor(settings);
    SaveSettings(settings);
}

void ConfigureEngine() {
    const CaptureConfig config = MakeCaptureConfig();
    CaptureEngine& engine = Engine();
    engine.Configure(config);
    const Settings& settings = CurrentSettings();
    engine.replaySeconds = static_cast<std::int32_t>(settings.replaySeconds);
    engine.micEnabled = settings.micEnabled;
    engine.gameAudioEnabled = settings.gameAudioEnabled;
}

void StartRecords() {
    const Text data = DataFolder();
    AppLogStart(data);
    SessionMarkerBegin(data);
    AppLogInfo(u"App", u"Zorvel starting");
}

/// A window that could not be made is not missed: capture and hot keys are what it would have carried.
Owned<AppWindow> MakeWindows(const Text& commandLine) {
    // Fonts, icons and the program's identity for the taskbar come before the first window.
    WindowOptions options;
    options.className = mainWindowClass;
    options.title = u"Zorvel";
    options.procedure = MainProc;
    options.width = 1220;
    options.height = 800;
    options.visible = true;
    Owned<AppWindow> mainWindow = MakeWindow(options);
    // The quick overlay comes next, then the capture badge.
    if (mainWindow && Contains(commandLine, u"--background")) {
        HideWindow(*mainWindow);
    }
    // The notification's window, the overlay's attributes and the main window's icons end the list.
    return mainWindow;
}

}  // namespace

int RunApplication(const Text& commandLine) {
    const Owned<InstanceClaim> claim = ClaimSingleInstance(instanceName);
    if (!claim) {
        HandOverToFirstCopy();
        return 0;
    }
    CurrentAppFolders() = MakeAppFolders();
    CreateAppFolders(CurrentAppFolders());
    PrepareSettings();
    DetectCapabilities(CurrentCapabilities());
    ConfigureEngine();
    StartRecords();
    SetEndRequest(ExitProgram);
    const Owned<AppWindow> mainWindow = MakeWindows(commandLine);
    StartReplayJob();
    RefreshClipList(CurrentSettings().clipsFolder, CurrentSettings().recordingsFolder);
    // The tray icon and the dark frames of the windows are the last steps before the loop.
    RunMessageLoop();
    // Fonts and icons go here.
    return 0;
}

}  // namespace zv
