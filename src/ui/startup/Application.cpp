// The order below is fixed: settings are loaded before the folders that they name are checked, the engine is configured
// from validated settings, logging starts after that, and the windows are created last. Blocking work runs later as a
// job.
#include "ui/startup/Application.h"

#include <optional>

#include "core/AppCore.h"
#include "core/AppFolders.h"
#include "core/SessionMarker.h"
#include "core/Settings.h"
#include "core/SettingsValidation.h"
#include "core/Theme.h"
#include "library/ClipList.h"
#include "platform/Environment.h"
#include "platform/InformationBox.h"
#include "platform/Session.h"
#include "platform/SingleInstance.h"
#include "platform/Window.h"
#include "ui/commands/CaptureSettings.h"
#include "ui/commands/Commands.h"
#include "ui/kit/DrawingContext.h"
#include "ui/kit/Fonts.h"
#include "ui/kit/Icons.h"
#include "ui/startup/ProgramWindows.h"
#include "ui/state/Engine.h"
#include "ui/state/UiGlobals.h"
#include "ui/windows/MainWindow.h"
#include "ui/windows/TrayMenu.h"
#include "video/Capabilities.h"
#include "video/Monitors.h"

namespace zv {
namespace {

constexpr char16_t taskbarIdentity[] = u"Zorvel.Capture.3.23";

/// Activates the first copy's window. Does not touch settings or logs.
void ActivateFirstCopy() {
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

/// A start with repairs writes the file twice. The theme sets the colour before the validation resets its name.
void PrepareSettings() {
    Settings& settings = CurrentSettings();
    LoadSettings(settings);
    Drawing().accentColor = ApplyTheme(settings);
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
    engine.config.micEnabled = settings.micEnabled;
    engine.config.gameAudioEnabled = settings.gameAudioEnabled;
}

void StartRecords() {
    const Text data = DataFolder();
    AppLogStart(data);
    SessionMarkerBegin(data);
    AppLogInfo(u"App", u"Zorvel starting");
}

}  // namespace

int RunApplication(const Text& commandLine) {
    const Owned<InstanceClaim> claim = ClaimSingleInstance(instanceName);
    if (!claim) {
        ActivateFirstCopy();
        return 0;
    }
    const Owned<ShellServices> shell = OpenShellServices();
    CurrentAppFolders() = MakeAppFolders();
    CreateAppFolders(CurrentAppFolders());
    PrepareSettings();
    DetectCapabilities(CurrentCapabilities());
    ConfigureEngine();
    StartRecords();
    SetEndRequest(ExitProgram);
    CreateFonts();
    MakeProgramIcons();
    SetTaskbarIdentity(taskbarIdentity);
    MakeProgramWindows(commandLine);
    StartReplayJob();
    RefreshClipList(CurrentSettings().clipsFolder, CurrentSettings().recordingsFolder);
    if (AppWindow* mainWindow = Ui().mainWindow) {
        ShowTrayIcon(*mainWindow);
    }
    DarkenWindowFrames();
    RunMessageLoop();
    EndWithoutMainWindow();
    DeleteFonts();
    ReleaseProgramWindows();
    ClearIconCache();
    return 0;
}

}  // namespace zv
