#include "windows/DriverScene.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "capture/SpeedCheck.h"
#include "core/ReadSharedFile.h"
#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/Folders.h"
#include "windows/Processes.h"
#include "windows/SoundDriver.h"

namespace zv::windows {
namespace {

constexpr wchar_t mainClass[] = L"ZVReelsMainV3";
constexpr WPARAM housekeepingTimer = 42;

std::string ContentOf(const std::filesystem::path& path) { return ReadSharedFile(FromPath(path), 0x1000000); }

std::vector<std::string> LinesOf(const std::string& content) {
    std::vector<std::string> lines;
    std::istringstream stream(content);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line.substr(0, line.find('\r')));
    }
    return lines;
}

template <class Matches>
std::vector<std::filesystem::path> FilesBelow(const std::filesystem::path& folder, Matches matches) {
    std::vector<std::filesystem::path> found;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, ignored)) {
        if (matches(entry.path())) {
            found.push_back(entry.path());
        }
    }
    return found;
}

/// The files of that name in the program's cache folders.
std::vector<std::filesystem::path> CacheFiles(const char* name) {
    return FilesBelow(std::filesystem::temp_directory_path() / "ZVReelsMax",
                      [name](const auto& path) { return path.filename() == name; });
}

/// The path of a file on the machine that runs Wine.
std::string HostPath(const std::filesystem::path& path) {
    using NameOf = char*(CDECL*)(const wchar_t*);
    const FARPROC function = GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name");
    char* name = reinterpret_cast<NameOf>(reinterpret_cast<void*>(function))(path.c_str());
    std::string result = name == nullptr ? std::string() : name;
    HeapFree(GetProcessHeap(), 0, name);
    return result;
}

}  // namespace

std::vector<std::string> ReportLines(const std::filesystem::path& report, const std::string& kind) {
    std::vector<std::string> found;
    for (const std::string& line : LinesOf(ContentOf(report))) {
        if (line.starts_with(kind)) {
            found.push_back(line.substr(kind.size()));
        }
    }
    return found;
}

// Wine starts a program of the machine that it runs on, but returns no handle: the last line of the output marks its
// end.
std::string RunShell(const std::filesystem::path& folder, const std::string& script,
                     const std::vector<std::filesystem::path>& paths) {
    static int counter = 0;
    const std::string name = "shell" + std::to_string(++counter);
    const std::filesystem::path output = folder / (name + ".out");
    const std::filesystem::path file = folder / name;
    std::ofstream(output, std::ios::binary).close();
    {
        std::ofstream text(file, std::ios::binary);
        text << "unset LD_LIBRARY_PATH\nset --";
        for (const std::filesystem::path& path : paths) {
            text << " '" << HostPath(path) << "'";
        }
        text << "\n{\n"
             << script << "\n} >'" << HostPath(output) << "' 2>&1 </dev/null\necho \"end $?\" >>'" << HostPath(output)
             << "'\n";
    }
    std::wstring line = L"\"Z:\\bin\\sh\" \"" + std::filesystem::path(HostPath(file)).wstring() + L"\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION made{};
    EXPECT_TRUE(
        CreateProcessW(L"Z:\\bin\\sh", line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &made));
    EXPECT_TRUE(Eventually([&] {
        const std::vector<std::string> lines = LinesOf(ContentOf(output));
        return !lines.empty() && lines.back().starts_with("end ");
    })) << script;
    std::string content = ContentOf(output);
    EXPECT_TRUE(content.ends_with("end 0\n")) << script << "\n" << content;
    return content.substr(0, content.rfind("end "));
}

std::filesystem::path DriverScene::DataFolder() {
    return ToPath(JoinPath(FolderOf(KnownFolder::LocalData), u"ZVReelsMax"));
}

void DriverScene::SetUp() {
    ASSERT_FALSE(EnvironmentValue(u"ZV_TEST_FFMPEG").empty()) << "tests/windows/fetch_ffmpeg gets it";
    std::filesystem::remove_all(DataFolder());
    std::filesystem::create_directories(DataFolder());
    const std::filesystem::path captures = folder_.Path() / "captures";
    for (const char* line :
         {"audioCaptureVersion=1", "replayUiVersion=1", "width=1920", "height=1080", "fps=30", "bitrateMbps=20",
          "replaySeconds=15", "instantReplay=1", "micEnabled=0", "gameAudioEnabled=0", "minimizeToTray=0"}) {
        Setting(line);
    }
    for (const char* key : {"captureRoot", "clipsFolder", "recordingsFolder", "screenshotsFolder"}) {
        Setting(std::string(key) + "=" + captures.string());
    }
    const Text direct = EnvironmentValue(u"ZV_TEST_DIRECT_FFMPEG");
    ASSERT_TRUE(direct.empty() || std::filesystem::exists(ToPath(direct))) << "tests/windows/build_ffmpeg builds it";
    SetEnvironmentValue(u"ZV_FFMPEG",
                        direct.empty() ? JoinPath(ExecutableFolder(), u"forwarding\\ffmpeg.exe") : direct);
    SetEnvironmentValue(u"ZV_TEST_COMMANDS", u"");
    SetEnvironmentValue(u"ZV_TEST_LINGER_MS", u"");
    SetEnvironmentValue(u"ZV_TEST_REPORT", FromPath(Report()));
    SetEnvironmentValue(u"ZV_TEST_SCRIPT", FromPath(folder_.Path() / "script"));
}

void DriverScene::TearDown() {
    if (program_.process && IsRunning(*program_.process)) {
        TerminateJob(*program_.job);
        WaitForExit(*program_.process, generousMs);
    }
}

void DriverScene::Setting(const std::string& line) {
    std::ofstream(DataFolder() / "settings.ini", std::ios::app | std::ios::binary) << line << "\r\n";
}

void DriverScene::Script(const std::string& text) {
    std::ofstream(folder_.Path() / "script", std::ios::app | std::ios::binary) << text << "\n";
}

void DriverScene::NewScript(const std::string& text) {
    std::ofstream(folder_.Path() / "script", std::ios::binary) << text << "\nset run " << ++scripts_ << "\n";
}

void DriverScene::InstallSound() {
    InstallSoundDriver(JoinPath(ExecutableFolder(), u"sound\\ZvMMDevices.dll"));
    Script("set render tone 1000 0.5");
    Script("set capture format 44100 1 16 pcm");
    Script("set capture tone 640 0.25");
    // Packets arrive early and none is overwritten, so that a busy machine loses none.
    for (const char* rule : {"arrive -600", "keep 60000"}) {
        Script(std::string("set render ") + rule);
        Script(std::string("set capture ") + rule);
    }
}

std::string DriverScene::NextLogUnder(const std::string& script) {
    const std::size_t before = Activity().size();
    NewScript(script);
    SendMessageW(FindWindowW(mainClass, nullptr), WM_DISPLAYCHANGE, 32, MAKELPARAM(1920, 1080));
    Tick();
    EXPECT_TRUE(Eventually([&] { return Activity().size() > before; }));
    return Activity().back();
}

void DriverScene::Tick() { SendMessageW(FindWindowW(mainClass, nullptr), WM_TIMER, housekeepingTimer, 0); }

std::filesystem::path DriverScene::BuiltProgram() {
    return ToPath(ExecutableFolder()).parent_path().parent_path() / "zorvel.exe";
}

bool DriverScene::StartProgram(const Text& arguments) {
    const Text program = FromPath(executable_.empty() ? BuiltProgram() : executable_);
    return SpawnChild({program, u"\"" + program + u"\"" + arguments, FromPath(folder_.Path() / "log")}, program_);
}

/// Closes the main window, which ends the program with the settings of the scene.
bool DriverScene::EndProgram() {
    HWND window = nullptr;
    if (!Eventually([&] { return (window = FindWindowW(mainClass, nullptr)) != nullptr; })) {
        return false;
    }
    PostMessageW(window, WM_CLOSE, 0, 0);
    return WaitForExit(*program_.process, generousMs) && ExitCode(*program_.process) == 0;
}

std::vector<std::string> DriverScene::Activity() const {
    std::vector<std::string> texts;
    for (const std::string& row : LinesOf(ContentOf(DataFolder() / "History" / "activity.log"))) {
        texts.push_back(row.substr(row.rfind('\t') + 1));
    }
    return texts;
}

bool DriverScene::EventuallyLogs(const std::string& text) const {
    return Eventually([&] {
        const std::vector<std::string> texts = Activity();
        return std::find(texts.begin(), texts.end(), text) != texts.end();
    });
}

std::size_t DriverScene::ListedSegments() const {
    std::size_t count = 0;
    for (const std::filesystem::path& playlist : CacheFiles("live.m3u8")) {
        const std::vector<std::string> lines = LinesOf(ContentOf(playlist));
        count += static_cast<std::size_t>(
            std::count_if(lines.begin(), lines.end(), [](const auto& line) { return line.ends_with(".ts"); }));
    }
    return count;
}

bool DriverScene::HasRecorded(std::int64_t frames) {
    const std::vector<std::filesystem::path> reports = CacheFiles("recording.log.progress");
    return std::any_of(reports.begin(), reports.end(),
                       [frames](const auto& report) { return FramesHaveReached(ContentOf(report), frames); });
}

std::vector<std::filesystem::path> DriverScene::Screenshots() const {
    return FilesBelow(folder_.Path() / "captures", [](const auto& path) { return path.extension() == ".png"; });
}

void DriverScene::Press(const Text& codes) {
    Child presser;
    const Text program = JoinPath(ExecutableFolder(), u"PressKeys.exe");
    ASSERT_TRUE(
        SpawnChild({program, u"\"" + program + u"\" " + codes, FromPath(folder_.Path() / "keys.log")}, presser));
    ASSERT_TRUE(WaitForExit(*presser.process, generousMs));
    ASSERT_EQ(ExitCode(*presser.process), 0U);
}

std::filesystem::path DriverScene::Saved(const std::string& words) {
    std::string path;
    EXPECT_TRUE(Eventually([&] {
        for (const std::string& text : Activity()) {
            path = text.starts_with(words) ? text.substr(words.size()) : path;
        }
        return !path.empty();
    })) << testing::PrintToString(Activity());
    return path;
}

}  // namespace zv::windows
