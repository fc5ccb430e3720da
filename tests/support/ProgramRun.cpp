#include "support/ProgramRun.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <system_error>

#include "support/Eventually.h"
#include "support/FileBytes.h"

namespace zv::support {

namespace fs = std::filesystem;

std::vector<fs::path> FilesBelow(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code gone;  // of files that the program removes meanwhile
    for (fs::recursive_directory_iterator at(folder, gone), end; at != end; at.increment(gone)) {
        if (at->is_regular_file(gone)) {
            files.push_back(at->path());
        }
    }
    return files;
}

std::string ProgramPath() { return ZV_PROGRAM_PATH; }
std::string MovingDesktopPath() { return ZV_MOVING_DESKTOP_PATH; }

namespace {

std::map<std::string, std::string> DefaultSettings(const fs::path& home) {
    return {{"audioCaptureVersion", "1"},
            {"replayUiVersion", "1"},
            {"width", "1920"},
            {"height", "1080"},
            {"fps", "30"},
            {"bitrateMbps", "8"},
            {"replaySeconds", "30"},
            {"instantReplay", "1"},
            {"micEnabled", "0"},
            {"gameAudioEnabled", "0"},
            {"captureRoot", (home / "captures").string()},
            {"clipsFolder", (home / "clips").string()},
            {"recordingsFolder", (home / "recordings").string()},
            {"screenshotsFolder", (home / "screenshots").string()}};
}

}  // namespace

ProgramRun::ProgramRun(const ProgramOptions& options) : display_(options.display) {
    const fs::path home = Home();
    for (const char* name : {"data/ZVReelsMax", "runtime", "config"}) {
        fs::create_directories(home / name);
    }
    fs::permissions(home / "runtime", fs::perms::owner_all);
    auto settings = DefaultSettings(home);
    for (const auto& [key, value] : options.settings) {
        settings[key] = value;
    }
    std::string text;
    for (const auto& [key, value] : settings) {
        text += key + "=" + value + "\r\n";
    }
    WriteBytes(DataFolder() / "settings.ini", text);
    cache_ = options.cache.empty() ? home / "cache" : fs::path(options.cache);
    Variables variables{{"DISPLAY", display_},
                        {"HOME", home.string()},
                        {"LOCALAPPDATA", (home / "data").string()},
                        {"XDG_CACHE_HOME", cache_.string()},
                        {"XDG_RUNTIME_DIR", (home / "runtime").string()},
                        {"XDG_CONFIG_HOME", (home / "config").string()},
                        {"DBUS_SESSION_BUS_ADDRESS", ""},
                        {"ZV_FFMPEG", ""}};
    for (const auto& [name, value] : options.variables) {
        variables[name] = value;
    }
    const std::string program = options.program.empty() ? ProgramPath() : options.program;
    Arguments command{program};
    if (options.background) {
        command.emplace_back("--background");
    }
    process_ = Spawned(command, variables, home / "program.log");
}

ProgramRun::~ProgramRun() {
    if (process_.Alive()) {
        End(40);
    }
    if (testing::Test::HasFailure()) {
        std::string rows;
        for (const std::string& row : Activity()) {
            rows += row + "\n";
        }
        fprintf(stderr, "activity of the run:\n%sits output:\n%s\n", rows.c_str(), Log().c_str());
        const fs::path cache = CacheFolder();
        for (const char* name : {"replay.log", "save-replay.log", "performance.log"}) {
            if (!cache.empty()) {
                fprintf(stderr, "%s:\n%s\n", name, ReadBytes(cache / name).c_str());
            }
        }
    }
}

std::vector<std::string> ProgramRun::Activity() const {
    std::vector<std::string> texts;
    std::istringstream rows(ReadBytes(DataFolder() / "History" / "activity.log"));
    for (std::string row; std::getline(rows, row);) {
        if (!row.empty() && row.back() == '\r') {
            row.pop_back();
        }
        texts.push_back(row.substr(row.rfind('\t') + 1));
    }
    return texts;
}

std::optional<std::string> ProgramRun::WaitForActivity(const std::string& beginning, std::size_t skip,
                                                       double seconds) const {
    std::optional<std::string> found;
    Eventually(
        [&] {
            const auto texts = Activity();
            for (std::size_t row = skip; row < texts.size() && !found; ++row) {
                if (texts[row].starts_with(beginning)) {
                    found = texts[row];
                }
            }
            return found.has_value();
        },
        static_cast<std::uint32_t>(seconds * 1000));
    return found;
}

fs::path ProgramRun::CacheFolder() const {
    const fs::path caches = cache_ / "ZVReelsMax";
    const std::string own = std::to_string(process_.Pid()) + "-";
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(caches, ignored)) {
        if (entry.path().filename().string().starts_with(own)) {
            return entry.path();
        }
    }
    return {};
}

fs::path ProgramRun::ReplayFolder() const {
    const fs::path cache = CacheFolder();
    std::error_code ignored;
    if (!cache.empty()) {
        for (const auto& entry : fs::directory_iterator(cache, ignored)) {
            if (entry.path().filename().string().starts_with("replay-")) {
                return entry.path();
            }
        }
    }
    return {};
}

double ProgramRun::BufferedSeconds() const {
    const fs::path folder = ReplayFolder();
    double sum = 0;
    if (!folder.empty()) {
        std::istringstream lines(ReadBytes(folder / "live.m3u8"));
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with("#EXTINF:")) {
                sum += std::atof(line.c_str() + 8);
            }
        }
    }
    return sum;
}

bool ProgramRun::WaitForBuffer(double seconds, double limit) const {
    return Eventually([&] { return BufferedSeconds() >= seconds; }, static_cast<std::uint32_t>(limit * 1000));
}

std::vector<pid_t> ProgramRun::FfmpegChildren() const { return ProcessesWith(cache_.string() + "/ZVReelsMax"); }

std::vector<pid_t> ProgramRun::Children() const { return ProcessesWith(Home().string() + "/"); }

std::optional<int> ProgramRun::End(double seconds) {
    process_.Send(SIGTERM);
    const auto status = process_.WaitExit(seconds);
    if (!status) {
        return std::nullopt;
    }
    return WIFEXITED(*status) ? WEXITSTATUS(*status) : 128 + WTERMSIG(*status);
}

std::string ProgramRun::Log() const { return ReadBytes(Home() / "program.log"); }

}  // namespace zv::support
