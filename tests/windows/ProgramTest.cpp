// The program as it ships, in a session without a graphics driver.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "core/AppFolders.h"
#include "core/ReadSharedFile.h"
#include "platform/ChildProcess.h"
#include "platform/Clock.h"
#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/Folders.h"
#include "platform/FrontWindow.h"
#include "platform/SingleInstance.h"
#include "platform/Window.h"
#include "support/Eventually.h"
#include "support/TemporaryFolder.h"
#include "windows/Processes.h"
#include "windows/ScreenPattern.h"

namespace zv {
namespace {

using support::Eventually;
using support::generousMs;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr wchar_t mainClass[] = L"ZVReelsMainV3";

class Program : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::remove_all(Data());
        std::filesystem::create_directories(Data());
        SetEnvironmentValue(u"ZV_FFMPEG", EnvironmentValue(u"ZV_TEST_FFMPEG"));
        // Starts Wine's notification area, which refuses icons until it has a window.
        GetDesktopWindow();
        ASSERT_TRUE(Eventually([] { return FindWindowW(L"Shell_TrayWnd", nullptr) != nullptr; }));
    }

    static std::filesystem::path Data() { return ToPath(JoinPath(FolderOf(KnownFolder::LocalData), u"ZVReelsMax")); }

    static void Setting(const std::string& line) {
        std::ofstream(Data() / "settings.ini", std::ios::app) << line << "\n";
    }

    static std::string ContentOf(const std::filesystem::path& path) { return ReadSharedFile(FromPath(path), 0x100000); }

    /// The texts of the activity log's rows.
    static std::vector<std::string> Activity() {
        std::vector<std::string> texts;
        std::istringstream rows(ContentOf(Data() / "History" / "activity.log"));
        for (std::string row; std::getline(rows, row);) {
            const std::string text = row.substr(row.rfind('\t') + 1);
            texts.push_back(text.substr(0, text.find('\r')));
        }
        return texts;
    }

    static std::filesystem::path ProgramPath() {
        return ToPath(ExecutableFolder()).parent_path().parent_path() / "zorvel.exe";
    }

    bool Start(Child& child, const Text& arguments = u"", const std::filesystem::path& path = ProgramPath()) {
        const Text program = FromPath(path);
        return SpawnChild({program, u"\"" + program + u"\"" + arguments, FromPath(folder_.Path() / "log")}, child);
    }

    /// Starts the first copy and waits until its first job has ended.
    bool StartFirst(const Text& arguments = u"") {
        return Start(first_, arguments) && Eventually([] { return Activity().size() == 1; });
    }

    static HWND MainWindow() { return FindWindowW(mainClass, nullptr); }

    static void Press(const Text& codes, const Text& log) {
        Child presser;
        const Text program = JoinPath(ExecutableFolder(), u"PressKeys.exe");
        ASSERT_TRUE(SpawnChild({program, u"\"" + program + u"\" " + codes, log}, presser));
        ASSERT_TRUE(WaitForExit(*presser.process, generousMs));
        ASSERT_EQ(ExitCode(*presser.process), 0U);
    }

    support::TemporaryFolder folder_;
    Child first_;
};

TEST_F(Program, SaysInItsHistoryWhyNothingIsCaptured) {
    ASSERT_TRUE(StartFirst());
    EXPECT_THAT(Activity(),
                ElementsAre("GPU desktop capture is unavailable. Use a local, unlocked desktop (0x80004001)"));
    EXPECT_THAT(ContentOf(Data() / "Logs" / "zv-reels.log"), HasSubstr("[INFO] [App] Zorvel starting"));
    EXPECT_TRUE(std::filesystem::exists(Data() / "running.lock"));
    EXPECT_THAT(ContentOf(Data() / "settings.ini"), HasSubstr("monitorDevice=\\\\.\\DISPLAY1"));
    EXPECT_TRUE(windows::ProcessesNamed(L"ffmpeg.exe").empty());
}

TEST_F(Program, LoadsNoGraphicsLibraryFromItsOwnFolder) {
    const std::filesystem::path copy = folder_.Path() / "zorvel.exe";
    std::filesystem::copy_file(ProgramPath(), copy);
    for (const char* name : {"avrt.dll", "d3d11.dll", "dwmapi.dll", "dxgi.dll"}) {
        std::ofstream(folder_.Path() / name) << "not a library";
    }
    ASSERT_TRUE(Start(first_, u"", copy));
    EXPECT_TRUE(Eventually([] { return Activity().size() == 1; }));
    EXPECT_THAT(Activity(),
                ElementsAre("GPU desktop capture is unavailable. Use a local, unlocked desktop (0x80004001)"));
}

TEST_F(Program, ReportsAMissingFfmpeg) {
    SetEnvironmentValue(u"ZV_FFMPEG", u"");
    ASSERT_TRUE(StartFirst());
    EXPECT_THAT(Activity(), ElementsAre("FFmpeg is missing. Run the launcher."));
}

TEST_F(Program, ShowsItsWindowUnlessItIsStartedInTheBackground) {
    ASSERT_TRUE(StartFirst());
    EXPECT_TRUE(IsWindowVisible(MainWindow()));
    first_ = {};
    ASSERT_TRUE(Eventually([] { return MainWindow() == nullptr; }));
    std::filesystem::remove(Data() / "History" / "activity.log");
    ASSERT_TRUE(StartFirst(u" --background"));
    EXPECT_FALSE(IsWindowVisible(MainWindow()));
}

TEST_F(Program, ASecondCopyBringsTheFirstForwardAndWritesNothing) {
    ASSERT_TRUE(StartFirst(u" --background"));
    const std::string log = ContentOf(Data() / "Logs" / "zv-reels.log");
    const auto written = std::filesystem::last_write_time(Data() / "settings.ini");
    Child second;
    ASSERT_TRUE(Start(second));
    ASSERT_TRUE(WaitForExit(*second.process, generousMs));
    EXPECT_EQ(ExitCode(*second.process), 0U);
    EXPECT_TRUE(IsWindowVisible(MainWindow()));
    EXPECT_TRUE(IsRunning(*first_.process));
    EXPECT_EQ(ContentOf(Data() / "Logs" / "zv-reels.log"), log);
    EXPECT_EQ(std::filesystem::last_write_time(Data() / "settings.ini"), written);

    const FrontWindow front = LookUpFrontWindow();
    EXPECT_EQ(front.kind, FrontKind::Known);
    EXPECT_TRUE(front.imagePath.ends_with(u"\\zorvel.exe")) << Narrow(front.imagePath);
}

TEST_F(Program, ASecondCopyWithoutAWindowToShowReportsTheFirst) {
    const Owned<InstanceClaim> claim = ClaimSingleInstance(u"Local\\ZVReelsMax_SingleInstance");
    ASSERT_TRUE(claim);
    Child second;
    ASSERT_TRUE(Start(second));
    ASSERT_TRUE(Eventually([] { return FindWindowW(L"#32770", L"Zorvel") != nullptr; }));
    const HWND box = FindWindowW(L"#32770", L"Zorvel");
    std::wstring text(256, L'\0');
    // One static child has the text, another the icon.
    for (HWND child = GetWindow(box, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
        wchar_t part[256] = {};
        GetClassNameW(child, part, 256);
        if (std::wstring(part) == L"Static" && SendMessageW(child, WM_GETTEXTLENGTH, 0, 0) > 0) {
            text.resize(
                static_cast<std::size_t>(SendMessageW(child, WM_GETTEXT, 256, reinterpret_cast<LPARAM>(text.data()))));
            break;
        }
    }
    EXPECT_EQ(text, L"Zorvel is already running. Open it from the notification area or exit the older copy first.");
    PostMessageW(box, WM_CLOSE, 0, 0);
    ASSERT_TRUE(WaitForExit(*second.process, generousMs));
    EXPECT_EQ(ExitCode(*second.process), 0U);
    EXPECT_FALSE(std::filesystem::exists(Data() / "settings.ini"));
}

TEST_F(Program, ClosingItsWindowOnlyHidesIt) {
    ASSERT_TRUE(StartFirst());
    SendMessageW(MainWindow(), WM_CLOSE, 0, 0);
    EXPECT_NE(MainWindow(), nullptr);
    EXPECT_FALSE(IsWindowVisible(MainWindow()));
    EXPECT_TRUE(IsRunning(*first_.process));
    EXPECT_TRUE(std::filesystem::exists(Data() / "running.lock"));
}

TEST_F(Program, ClosingItsWindowExitsIfTheSettingsSaySo) {
    Setting("minimizeToTray=0");
    ASSERT_TRUE(StartFirst());
    PostMessageW(MainWindow(), WM_CLOSE, 0, 0);
    ASSERT_TRUE(WaitForExit(*first_.process, generousMs));
    EXPECT_EQ(ExitCode(*first_.process), 0U);
    EXPECT_FALSE(std::filesystem::exists(Data() / "running.lock"));
}

TEST_F(Program, TheEndOfTheSessionExitsCleanly) {
    ASSERT_TRUE(StartFirst());
    SendMessageW(MainWindow(), WM_ENDSESSION, TRUE, 0);
    ASSERT_TRUE(WaitForExit(*first_.process, generousMs));
    EXPECT_EQ(ExitCode(*first_.process), 0U);
    EXPECT_FALSE(std::filesystem::exists(Data() / "running.lock"));
}

TEST_F(Program, ItsScreenshotKeySavesTheWholeMonitorPixelForPixel) {
    const std::filesystem::path captures = folder_.Path() / "captures";
    Setting("captureRoot=" + captures.string());
    ASSERT_TRUE(StartFirst(u" --background"));
    const windows::Painting painting;
    Press(u"17 18 83", FromPath(folder_.Path() / "keys.log"));
    std::filesystem::path picture;
    ASSERT_TRUE(Eventually([&] {
        std::error_code ignored;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(captures, ignored)) {
            picture = entry.path().extension() == ".png" ? entry.path() : picture;
        }
        return !picture.empty();
    }));
    EXPECT_THAT(picture.filename().string(), StartsWith("ZV_Screenshot_"));
    const windows::Picture saved = windows::ReadPng(picture);
    EXPECT_EQ(saved.width, 1920);
    EXPECT_EQ(saved.height, 1080);
    EXPECT_EQ(windows::Differences(saved, {0, 0, 1920, 1080}), 0);
    EXPECT_EQ(Activity().size(), 1U);
}

TEST_F(Program, ItsRecordingKeyWorksFromAnotherProgram) {
    ASSERT_TRUE(StartFirst(u" --background"));
    Press(u"17 18 82", FromPath(folder_.Path() / "keys.log"));
    EXPECT_TRUE(Eventually([] { return Activity().size() == 2; }));
    EXPECT_THAT(Activity().back(), HasSubstr("GPU desktop capture is unavailable"));
}

}  // namespace
}  // namespace zv
