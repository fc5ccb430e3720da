// The order of the start, the second copy, and the files that a run leaves.
#include "ui/startup/Application.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <thread>

#include "core/AppFolders.h"
#include "fake/Canvas.h"
#include "library/ClipList.h"
#include "ui/Interface.h"
#include "ui/kit/DrawingContext.h"
#include "ui/state/Engine.h"
#include "video/Capabilities.h"

namespace zv {
namespace {

namespace fs = std::filesystem;
using fake::CountOf;
using fake::TheEngine;
using fake::TheTray;
using fake::TheWindows;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using Calls = std::vector<std::string>;

class Application : public Interface {
protected:
    Application() {
        CurrentSettings() = {};
        fake::ResetCanvas();
        fake::TheMonitors().monitors = {{u"left", 0, 0, 1920, 1080, -1, false},
                                        {u"main", 1920, 0, 1920, 1080, -1, true}};
        fs::remove_all(folder_.Path() / "videos");
        TheWindows().loop = [this] { InLoop(); };
    }
    /// What the user does while the loop runs: by default the first job is awaited, then the program is ended.
    virtual void InLoop() {
        if (inLoop) {
            inLoop();
        }
        FinishFirstJob();
        TheWindows().endRequest();
    }
    void FinishFirstJob() {
        if (Ui().capture.captureJobSlot.IsBusy()) {
            AwaitJob();
            TheWindows().made[0].procedure(*Ui().mainWindow, message::timer, 43, 0);
            AwaitRefresh();
            TheWindows().made[0].procedure(*Ui().mainWindow, message::timer, 43, 0);
        }
    }
    fs::path Data(const char* name) const { return folder_.Path() / "data" / "ZVReelsMax" / name; }
    std::string Bytes(const fs::path& path) const {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void WriteSettings(const std::string& bytes) const {
        fs::create_directories(folder_.Path() / "data" / "ZVReelsMax");
        std::ofstream(ToPath(SettingsFile()), std::ios::binary) << bytes;
    }
    /// Runs `check` inside the first call of that name.
    void At(const std::string& call, const std::function<void()>& check) {
        onCall_ = [=](const std::string& name, int nth) {
            if (call == name && nth == 1) {
                check();
            }
        };
    }

    std::function<void()> inLoop;
};

TEST_F(Application, StartsAndEndsInItsOrder) {
    EXPECT_EQ(RunApplication(u"zorvel"), 0);
    std::vector<std::string> calls = fake::CallLog();
    // The first job runs on its worker while the interface thread enters its loop.
    std::erase(calls, "RemoveLeftovers");
    std::erase(calls, "StartReplay");
    std::erase(calls, "DefaultProcedure");
    // What the timers do depends on when the workers end.
    const auto loop = std::find(calls.begin(), calls.end(), "RunMessageLoop");
    ASSERT_NE(loop, calls.end());
    calls.erase(loop + 1, std::find(loop, calls.end(), "HideWindow ZVReelsMainV3"));
    const Calls expected{
        "ClaimSingleInstance", "OpenShellServices",
        // Settings, survey, engine.
        "EnumerateMonitors", "ListAdapterRecords", "Configure",
        // Resources of the windows.
        "MakeFont", "MakeFont", "MakeFont", "MakeFont", "MakeFont", "LoadProgramIcon", "LoadProgramIcon",
        "SetTaskbarIdentity",
        // The windows.
        "MakeWindow ZVReelsMainV3", "StartTimer 42", "RegisterGlobalKey 1", "RegisterGlobalKey 2",
        "RegisterGlobalKey 3", "RegisterGlobalKey 4", "MakeWindow ZVReelsOverlayV3", "MakeWindow ZVGameStatusBadge",
        "SetConstantAlpha ZVGameStatusBadge", "ExcludeFromCapture ZVGameStatusBadge",
        "MakeWindow ZVCaptureNotification315", "SetConstantAlpha ZVCaptureNotification315",
        "ExcludeFromCapture ZVCaptureNotification315", "SetColorKey ZVReelsOverlayV3",
        "ExcludeFromCapture ZVReelsOverlayV3", "SetWindowIcons ZVReelsMainV3",
        // The first job, the notification area, the loop.
        "StartTimer 43", "AddTrayIcon", "SetDarkFrame ZVReelsMainV3", "SetDarkFrame ZVReelsOverlayV3", "RunMessageLoop",
        // The shutdown.
        "HideWindow ZVReelsMainV3", "HideWindow ZVReelsOverlayV3", "destroy ZVReelsMainV3",
        "destroy ZVCaptureNotification315", "StopTimer 42", "StopTimer 43", "destroy ZVGameStatusBadge",
        "RemoveTrayIcon", "StopAll", "UnregisterGlobalKey 1", "UnregisterGlobalKey 2", "UnregisterGlobalKey 3",
        "UnregisterGlobalKey 4", "PostQuit",
        // After the loop.
        "DestroyIcon", "DestroyIcon", "destroy ZVReelsOverlayV3", "CloseShellServices", "ReleaseInstance"};
    EXPECT_THAT(calls, ElementsAreArray(expected));
    EXPECT_EQ(TheWindows().claimedName, u"Local\\ZVReelsMax_SingleInstance");
}

TEST_F(Application, ABackgroundStartWithoutANotificationAreaIsMinimized) {
    fake::FailCall("AddTrayIcon", 1, -1);
    inLoop = [] {
        EXPECT_TRUE(IsWindowShown(*Ui().mainWindow));
        EXPECT_TRUE(IsWindowMinimized(*Ui().mainWindow));
    };
    RunApplication(u"zorvel --background");
    EXPECT_EQ(CountOf("MinimizeWindow"), 1);
}

TEST_F(Application, AFirstRunSavesTheSettingsTwiceAndUsesThePurpleTheme) {
    std::string first;
    // Between the two saves the monitors are enumerated.
    At("EnumerateMonitors", [&] { first = SettingsBytes(); });
    std::string second;
    inLoop = [&] { second = SettingsBytes(); };
    RunApplication(u"zorvel");
    EXPECT_THAT(first, HasSubstr("\r\nmonitorDevice=\r\n"));
    EXPECT_THAT(first, HasSubstr("\r\ntheme=ZV Purple\r\n"));
    EXPECT_THAT(second, HasSubstr("\r\nmonitorDevice=main\r\n"));
    EXPECT_THAT(second, HasSubstr("\r\ntheme=ZV Purple\r\n"));
    EXPECT_EQ(Drawing().accentColor, 0xFF7797U);
}

TEST_F(Application, FourStartsWithCyrillicFoldersKeepTheSettings) {
    const Text videos = Folder(u"\u0412\u0438\u0434\u0435\u043E");
    fake::TheFolders().videos = videos;
    for (int start = 1; start <= 4; ++start) {
        SCOPED_TRACE(start);
        RunApplication(u"zorvel");
        // Elsewhere a line with such a letter ends the file, and the keys behind it are lost.
        EXPECT_EQ(CurrentSettings().bindKeys[0], namesAreUtf8 && start > 1 ? 65U : 88U);
        if (namesAreUtf8) {
            EXPECT_EQ(CurrentSettings().captureRoot, Below(videos, u"Zorvel"));
            EXPECT_EQ(CurrentSettings().clipsFolder, Below(Below(videos, u"Zorvel"), u"Clips"));
        }
        CurrentSettings().bindKeys[0] = 65;
        SaveSettings(CurrentSettings());
    }
}

TEST_F(Application, AStoredColourLastsForThisSession) {
    WriteSettings("audioCaptureVersion=1\r\nreplayUiVersion=1\r\ntheme=Zorvel Blue\r\n");
    inLoop = [&] { EXPECT_THAT(SettingsBytes(), HasSubstr("\r\ntheme=ZV Purple\r\n")); };
    RunApplication(u"zorvel");
    EXPECT_EQ(Drawing().accentColor, 0xFF9751U);
}

TEST_F(Application, AStoredMonitorIsKept) {
    WriteSettings("audioCaptureVersion=1\r\nreplayUiVersion=1\r\nmonitorDevice=gone\r\n");
    inLoop = [] { EXPECT_EQ(CurrentSettings().monitorDevice, u"gone"); };
    RunApplication(u"zorvel");
    EXPECT_EQ(TheEngine().configs[0].monitorDevice, u"gone");
}

TEST_F(Application, WithoutAMonitorTheSettingStaysEmpty) {
    fake::TheMonitors().monitors.clear();
    RunApplication(u"zorvel");
    EXPECT_EQ(TheEngine().configs[0].monitorDevice, u"");
}

TEST_F(Application, MakesItsSixFolders) {
    RunApplication(u"zorvel");
    for (const char* name : {"", "Logs", "Crash", "History", "Reports", "Profiles"}) {
        EXPECT_TRUE(fs::is_directory(Data(name))) << name;
    }
    EXPECT_EQ(CurrentAppFolders().logs, Below(Below(Folder(u"data"), u"ZVReelsMax"), u"Logs"));
}

TEST_F(Application, TheEngineIsConfiguredFromRepairedSettingsBeforeTheLogBegins) {
    WriteSettings(
        "audioCaptureVersion=1\r\nreplayUiVersion=1\r\nwidth=1280\r\nfps=144\r\nbitrateMbps=500\r\n"
        "replaySeconds=400\r\nmicEnabled=1\r\ngameAudioEnabled=0\r\ncodec=H265\r\n");
    bool logAtConfigure = true;
    At("Configure", [&] { logAtConfigure = fs::exists(Data("Logs") / "zv-reels.log"); });
    RunApplication(u"zorvel");
    ASSERT_EQ(TheEngine().configs.size(), 1U);
    const CaptureConfig& config = TheEngine().configs[0];
    EXPECT_EQ(config.width, 2560);
    EXPECT_EQ(config.height, 1440);
    EXPECT_EQ(config.fps, 60);
    EXPECT_EQ(config.bitrateMbps, 200);
    EXPECT_EQ(config.codec, u"H264");
    EXPECT_EQ(Engine().replaySeconds, 300);
    EXPECT_TRUE(Engine().config.micEnabled);
    EXPECT_FALSE(Engine().config.gameAudioEnabled);
    EXPECT_FALSE(logAtConfigure);
}

TEST_F(Application, TheAdaptersAreDetectedBeforeTheEngineIsConfigured) {
    fake::TheMonitors().adapters = {{u"Card", 0x10DE, 1, true, false}};
    CurrentCapabilities() = {};
    bool detected = false;
    At("Configure", [&] { detected = CurrentCapabilities().detected && TheWindows().made.empty(); });
    RunApplication(u"zorvel");
    EXPECT_TRUE(detected);
}

TEST_F(Application, AStoredRuntimeIsExportedBeforeTheEngineIsConfigured) {
    WriteSettings("audioCaptureVersion=1\r\nreplayUiVersion=1\r\nffmpegPath=/opt/ffmpeg\r\n");
    Text announced;
    At("Configure", [&] { announced = fake::TheEnvironment().variables[u"ZV_FFMPEG"]; });
    RunApplication(u"zorvel");
    EXPECT_EQ(announced, u"/opt/ffmpeg");
}

TEST_F(Application, AnEmptyRuntimeLeavesTheVariableAlone) {
    fake::TheEnvironment().variables[u"ZV_FFMPEG"] = u"/mine";
    RunApplication(u"zorvel");
    EXPECT_EQ(fake::TheEnvironment().variables[u"ZV_FFMPEG"], u"/mine");
}

TEST_F(Application, LogsOneLineAndKeepsItsMarkerWhileItRuns) {
    std::string marker;
    At("MakeWindow", [&] {
        marker = Bytes(Data("running.lock"));
        EXPECT_EQ(Bytes(Data("Logs") / "zv-reels.log"), "[15:09:26] [INFO] [App] Zorvel starting\r\n");
    });
    RunApplication(u"zorvel");
    EXPECT_EQ(marker, "running");
    EXPECT_FALSE(fs::exists(Data("running.lock")));
    EXPECT_FALSE(CurrentSessionMarker().previousRunUnclean);
}

TEST_F(Application, AMarkerOfACrashIsOverwrittenAndReported) {
    fs::create_directories(Data(""));
    std::ofstream(Data("running.lock")) << "anything";
    At("MakeWindow", [&] { EXPECT_EQ(Bytes(Data("running.lock")), "running"); });
    RunApplication(u"zorvel");
    EXPECT_TRUE(CurrentSessionMarker().previousRunUnclean);
    EXPECT_FALSE(fs::exists(Data("running.lock")));
}

TEST_F(Application, TheMainWindowIsShownWithItsTitleClassAndSize) {
    bool shown = false;
    inLoop = [&] { shown = IsWindowShown(*Ui().mainWindow); };
    RunApplication(u"zorvel");
    ASSERT_EQ(TheWindows().made.size(), 4U);
    const WindowOptions& main = TheWindows().made[0];
    EXPECT_EQ(main.className, u"ZVReelsMainV3");
    EXPECT_EQ(main.title, u"Zorvel");
    EXPECT_EQ(main.width, 1220);
    EXPECT_EQ(main.height, 800);
    EXPECT_TRUE(main.visible);
    EXPECT_TRUE(shown);
}

struct SmallWindow {
    const char16_t* className;
    const char16_t* title;
    Rectangle bounds;
    bool layered, clickThrough, arrowCursor;
};

TEST_F(Application, TheOtherWindowsAreCreatedTopmostAndHidden) {
    const SmallWindow rows[] = {
        {u"ZVReelsOverlayV3", u"Zorvel Quick Overlay", {100, 100, 1110, 668}, true, false, true},
        {u"ZVGameStatusBadge", u"ZV capture indicator", {0, 0, 90, 32}, true, true, false},
        {u"ZVCaptureNotification315", u"Zorvel notification", {0, 0, 330, 76}, true, true, false},
    };
    std::vector<bool> shown;
    inLoop = [&] {
        for (const SmallWindow& row : rows) {
            shown.push_back(IsWindowShown(*fake::FindWindowOf(row.className)));
        }
    };
    RunApplication(u"zorvel");
    EXPECT_THAT(shown, ElementsAre(false, false, false));
    ASSERT_EQ(TheWindows().made.size(), 4U);
    for (std::size_t i = 0; i < 3; ++i) {
        const WindowOptions& made = TheWindows().made[i + 1];
        const SmallWindow& row = rows[i];
        SCOPED_TRACE(i);
        EXPECT_EQ(made.className, row.className);
        EXPECT_EQ(made.title, row.title);
        EXPECT_EQ((Rectangle{made.left, made.top, made.left + made.width, made.top + made.height}), row.bounds);
        EXPECT_EQ(made.frame, WindowFrame::Bare);
        EXPECT_TRUE(made.topmost && made.toolWindow && made.noActivate);
        EXPECT_EQ(made.layered, row.layered);
        EXPECT_EQ(made.clickThrough, row.clickThrough);
        EXPECT_EQ(made.cursor.has_value(), row.arrowCursor);
        EXPECT_FALSE(made.visible);
        EXPECT_EQ(made.owner, nullptr);
        EXPECT_EQ(made.bigIcon, nullptr);
    }
    const WindowOptions& main = TheWindows().made[0];
    EXPECT_EQ(main.frame, WindowFrame::Full);
    EXPECT_FALSE(main.topmost || main.toolWindow || main.noActivate || main.layered || main.clickThrough);
    EXPECT_EQ(main.cursor, CursorShape::Arrow);
}

TEST_F(Application, TheWindowsHaveTheirAttributes) {
    inLoop = [] {
        const fake::WindowRecord& main = fake::RecordOf(*Ui().mainWindow);
        const fake::WindowRecord& overlay = fake::RecordOf(*Ui().overlayWindow);
        const fake::WindowRecord& badge = fake::RecordOf(*Ui().badgeWindow);
        const fake::WindowRecord& toast = fake::RecordOf(*Ui().toastWindow);
        EXPECT_EQ(overlay.colorKey, 0x030201U);
        EXPECT_EQ(badge.alpha, 225);
        EXPECT_EQ(toast.alpha, 255);
        EXPECT_TRUE(overlay.excluded && badge.excluded && toast.excluded);
        EXPECT_FALSE(main.excluded);
        EXPECT_TRUE(main.darkFrame && overlay.darkFrame);
        EXPECT_FALSE(badge.darkFrame || toast.darkFrame);
        EXPECT_FALSE(main.colorKey || main.alpha || toast.colorKey || overlay.alpha || badge.colorKey);
        EXPECT_NE(Ui().mainState.pages, nullptr);
        EXPECT_NE(Ui().overlayState.pages, nullptr);
    };
    RunApplication(u"zorvel");
    for (const AppWindow* window : {Ui().mainWindow, Ui().overlayWindow, Ui().badgeWindow, Ui().toastWindow}) {
        EXPECT_EQ(window, nullptr);
    }
}

TEST_F(Application, RunsWithoutOneOfTheOtherWindows) {
    for (int nth = 2; nth <= 4; ++nth) {
        fake::ResetCalls();
        fake::FailCall("MakeWindow", nth, -1);
        bool handled = false;
        inLoop = [&] {
            handled = true;
            TheWindows().made[0].procedure(*Ui().mainWindow, message::timer, 42, 0);
            TheWindows().made[0].procedure(*Ui().mainWindow, message::hotKey, 1, 0);
            TheWindows().made[0].procedure(*Ui().mainWindow, message::keyDown, 27, 0);
        };
        EXPECT_EQ(RunApplication(u"zorvel"), 0);
        EXPECT_TRUE(handled);
    }
}

// Icons, fonts and the notification area.

TEST_F(Application, UsesTheIconsOfItsResources) {
    inLoop = [] {
        const fake::WindowRecord& main = fake::RecordOf(*Ui().mainWindow);
        ASSERT_TRUE(main.bigIcon != nullptr && main.littleIcon != nullptr);
        EXPECT_EQ(fake::RecordOf(*main.bigIcon).size, 32);
        EXPECT_EQ(fake::RecordOf(*main.littleIcon).size, 16);
        EXPECT_TRUE(fake::RecordOf(*main.bigIcon).fromResource);
        EXPECT_EQ(main.options.bigIcon, main.bigIcon) << "the class has them too";
        EXPECT_EQ(main.options.littleIcon, main.littleIcon);
        EXPECT_EQ(TheTray().icon->icon, main.littleIcon);
    };
    RunApplication(u"zorvel");
    EXPECT_EQ(fake::LiveIcons(), 0);
}

TEST_F(Application, PaintsItsIconsIfItHasNoResources) {
    fake::HasProgramIcon() = false;
    inLoop = [] {
        const fake::WindowRecord& main = fake::RecordOf(*Ui().mainWindow);
        for (const AppIcon* icon : {main.bigIcon, main.littleIcon}) {
            ASSERT_NE(icon, nullptr);
            EXPECT_FALSE(fake::RecordOf(*icon).fromResource);
        }
        EXPECT_EQ(fake::RecordOf(*main.bigIcon).size, 32);
        EXPECT_EQ(fake::RecordOf(*main.littleIcon).size, 16);
        // Of the picture's own font: two thirds of 32, and of 16.
        EXPECT_THAT(fake::Drawings(), testing::Contains("text 0,0,32,32 21/700 centred 255,255,255 \"Z\""));
        EXPECT_THAT(fake::Drawings(), testing::Contains("text 0,0,16,16 10/700 centred 255,255,255 \"Z\""));
        EXPECT_THAT(fake::Drawings(), testing::Contains("fill 0,0,32,32 133,83,231"));
    };
    RunApplication(u"zorvel");
    EXPECT_EQ(fake::LiveIcons(), 0);
    EXPECT_EQ(fake::LiveFonts(), 0);
}

TEST_F(Application, RunsWithoutIcons) {
    fake::HasProgramIcon() = false;
    fake::FailCall("MakeCanvas", 1, -1);
    fake::FailCall("MakeIcon", 1, -1);
    inLoop = [] {
        EXPECT_EQ(fake::RecordOf(*Ui().mainWindow).bigIcon, nullptr);
        EXPECT_EQ(TheTray().icon->icon, nullptr) << "the system's picture of a program stands in";
    };
    EXPECT_EQ(RunApplication(u"zorvel"), 0);
}

TEST_F(Application, AddsItsIconToTheNotificationArea) {
    inLoop = [] {
        ASSERT_TRUE(TheTray().icon);
        EXPECT_EQ(TheTray().icon->window, Ui().mainWindow);
        EXPECT_EQ(TheTray().icon->message, 0x8016U);
        EXPECT_EQ(TheTray().icon->tip, u"ZV Reels Max");
    };
    RunApplication(u"zorvel");
    EXPECT_EQ(TheTray().additions, 1);
    EXPECT_FALSE(TheTray().icon);
}

TEST_F(Application, SetsItsTaskbarIdentityBeforeItsFirstWindow) {
    Text name;
    At("MakeWindow", [&] { name = TheWindows().taskbarIdentity; });
    RunApplication(u"zorvel");
    EXPECT_EQ(name, u"Zorvel.Capture.3.23");
}

TEST_F(Application, HasItsFontsFromBeforeTheFirstWindowToTheEnd) {
    int fonts = 0;
    At("MakeWindow", [&] { fonts = fake::LiveFonts(); });
    RunApplication(u"zorvel");
    EXPECT_EQ(fonts, 5);
    EXPECT_EQ(fake::LiveFonts(), 0);
}

TEST_F(Application, TheBackgroundOptionHidesTheWindowBetweenBadgeAndNotification) {
    RunApplication(u"zorvel --background");
    const auto calls = fake::CallNames();
    const auto hide = std::find(calls.begin(), calls.end(), "HideWindow");
    EXPECT_EQ(std::count(calls.begin(), hide, "MakeWindow"), 3);
    EXPECT_EQ(std::count(calls.begin(), hide, "ExcludeFromCapture"), 1);
}

TEST_F(Application, TheBackgroundOptionIsFoundAnywhereInTheCommandLine) {
    for (const TextView line : {u"zorvel --background", u"--background zorvel", u"/x/my--backgroundgame/zorvel"}) {
        bool shown = true;
        inLoop = [&] { shown = IsWindowShown(*Ui().mainWindow); };
        RunApplication(Text(line));
        EXPECT_FALSE(shown);
    }
    bool shown = false;
    inLoop = [&] { shown = IsWindowShown(*Ui().mainWindow); };
    RunApplication(u"zorvel -background");
    EXPECT_TRUE(shown);
}

TEST_F(Application, TheFirstJobStartsTheReplayAccordingToTheSettings) {
    WriteSettings("audioCaptureVersion=1\r\nreplayUiVersion=1\r\ninstantReplay=0\r\nreplaySeconds=120\r\n");
    RunApplication(u"zorvel");
    EXPECT_THAT(TheEngine().replayStarts, ElementsAre(fake::ReplayStart{false, 120}));
    std::vector<std::string> calls = fake::CallNames();
    std::erase_if(calls, [](const std::string& call) { return call != "RemoveLeftovers" && call != "StartReplay"; });
    EXPECT_THAT(calls, ElementsAre("RemoveLeftovers", "StartReplay"));
    EXPECT_THAT(Activity(), ElementsAre(u"Capture: Replay off"));
}

TEST_F(Application, TheClipFoldersAreListedAtTheStart) {
    fs::create_directories(folder_.Path() / "videos" / "Zorvel" / "Clips");
    std::ofstream(folder_.Path() / "videos" / "Zorvel" / "Clips" / "a.mp4") << "12345";
    RunApplication(u"zorvel");
    ASSERT_EQ(CurrentClipList().rows.size(), 1U);
    EXPECT_EQ(CurrentClipList().rows[0].size, 5U);
}

TEST_F(Application, ClosingWhileAJobRunsBlocksUntilItHasEnded) {
    gate_.Hold("StartReplay");
    std::thread release;
    bool ended = false;
    TheWindows().loop = [&] {
        RunTo("StartReplay");
        release = OpenGateUnless("StopAll");
        TheWindows().endRequest();
        ended = Ui().capture.captureJobSlot.IsFinished();
    };
    RunApplication(u"zorvel");
    release.join();
    EXPECT_TRUE(ended);
    EXPECT_EQ(CountOf("StopAll"), 1);
}

TEST_F(Application, RunsWithoutAMainWindow) {
    fake::FailCall("MakeWindow", 1, -1);
    TheWindows().loop = [this] {
        AwaitJob();
        TheWindows().endRequest();
    };
    EXPECT_EQ(RunApplication(u"zorvel --background"), 0);
    EXPECT_TRUE(TheWindows().quitPosted);
}

TEST_F(Application, WithoutAMainWindowTheEndWaitsForTheJobStopsSavesAndRemovesTheMarker) {
    fake::FailCall("MakeWindow", 1, -1);
    gate_.Hold("StartReplay");
    std::thread release;
    bool jobEnded = false;
    bool savedAtStop = true;
    onCall_ = [&](const std::string& name, int) {
        if (name == "StopAll") {
            jobEnded = Ui().capture.captureJobSlot.IsFinished();
            savedAtStop = fs::exists(ToPath(SettingsFile()));
        }
    };
    TheWindows().loop = [&] {
        RunTo("StartReplay");
        fs::remove(ToPath(SettingsFile()));
        release = OpenGateUnless("StopAll");
        TheWindows().endRequest();
    };
    EXPECT_EQ(RunApplication(u"zorvel"), 0);
    release.join();
    EXPECT_EQ(CountOf("StopAll"), 1);
    EXPECT_TRUE(jobEnded);
    EXPECT_FALSE(savedAtStop);
    EXPECT_TRUE(fs::exists(ToPath(SettingsFile())));
    EXPECT_FALSE(fs::exists(Data("running.lock")));
}

TEST_F(Application, AShutdownThatThrowsIsCompletedAfterTheLoop) {
    TheWindows().loop = [this] {
        FinishFirstJob();
        fs::remove(ToPath(SettingsFile()));
        fake::ThrowInCall("StopAll", 1);
        EXPECT_THROW(TheWindows().endRequest(), std::bad_alloc);
    };
    EXPECT_EQ(RunApplication(u"zorvel"), 0);
    EXPECT_EQ(CountOf("StopAll"), 2);
    EXPECT_TRUE(fs::exists(ToPath(SettingsFile())));
    EXPECT_FALSE(fs::exists(Data("running.lock")));
}

TEST_F(Application, SettingsThatCannotBeSavedAtTheEndLeaveNoMarker) {
    TheWindows().loop = [this] {
        FinishFirstJob();
        // A file in place of the folder of the settings, which is not the folder of the marker.
        std::ofstream(folder_.Path() / "a file") << "in the way";
        fake::TheFolders().localData = Folder(u"a file");
        EXPECT_ANY_THROW(TheWindows().endRequest());
    };
    EXPECT_EQ(RunApplication(u"zorvel"), 0);
    EXPECT_FALSE(fs::exists(Data("running.lock")));
}

// The second copy.

TEST_F(Application, ASecondCopyActivatesTheFirstAndWritesNothing) {
    fake::FailCall("ClaimSingleInstance", 1, -1);
    EXPECT_EQ(RunApplication(u"zorvel"), 0);
    EXPECT_THAT(fake::CallNames(), ElementsAre("ClaimSingleInstance", "BringOtherCopyForward"));
    EXPECT_EQ(TheWindows().broughtForward, u"ZVReelsMainV3");
    EXPECT_FALSE(fs::exists(folder_.Path() / "data"));
}

TEST_F(Application, ASecondCopyShowsAMessageIfTheFirstHasNoWindow) {
    fake::FailCall("ClaimSingleInstance", 1, -1);
    TheWindows().otherCopyHasWindow = false;
    EXPECT_EQ(RunApplication(u"zorvel"), 0);
    EXPECT_EQ(TheWindows().informationText,
              u"Zorvel is already running. Open it from the notification area or exit the older copy first.");
    EXPECT_EQ(TheWindows().informationCaption, u"Zorvel");
    EXPECT_FALSE(fs::exists(folder_.Path() / "data"));
}

}  // namespace
}  // namespace zv
