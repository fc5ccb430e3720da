#include "support/EndToEnd.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

#include "support/Eventually.h"

extern char** environ;

namespace zv::support {

namespace fs = std::filesystem;

std::string ReadAll(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

void WriteAll(const fs::path& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

std::vector<fs::path> FilesBelow(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code gone;  // what the program removes meanwhile
    for (fs::recursive_directory_iterator at(folder, gone), end; at != end; at.increment(gone)) {
        if (at->is_regular_file(gone)) {
            files.push_back(at->path());
        }
    }
    return files;
}

std::size_t OpenFiles() { return static_cast<std::size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), {})); }

namespace {

std::vector<char*> Pointers(std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    for (std::string& string : strings) {
        pointers.push_back(string.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> Environment(const Variables& variables) {
    std::vector<std::string> lines;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string line = *entry;
        if (!variables.contains(line.substr(0, line.find('=')))) {
            lines.push_back(line);
        }
    }
    for (const auto& [name, value] : variables) {
        if (!value.empty()) {
            lines.push_back(name + "=" + value);
        }
    }
    return lines;
}

/// In a child, right after the fork: it ends with the thread that started it, so that a test which crashes or is killed
/// leaves nothing.
void DieWithParent(pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {  // gone before it could be told
        _exit(127);
    }
}

[[noreturn]] void Execute(const Arguments& command, const Variables& variables) {
    std::vector<std::string> words = command;
    std::vector<std::string> lines = Environment(variables);
    execvpe(words[0].c_str(), Pointers(words).data(), Pointers(lines).data());
    _exit(127);
}

}  // namespace

std::string OutputOf(const Arguments& command, bool both) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const pid_t parent = getpid();
    const pid_t pid = fork();
    if (pid == 0) {
        DieWithParent(parent);
        dup2(ends[1], STDOUT_FILENO);
        if (both) {
            dup2(ends[1], STDERR_FILENO);
        }
        const int empty = open("/dev/null", O_RDONLY);
        dup2(empty, STDIN_FILENO);
        Execute(command, {});
    }
    close(ends[1]);
    std::string output;
    char block[65536];
    for (ssize_t count = 0; (count = read(ends[0], block, sizeof block)) > 0;) {
        output.append(block, static_cast<std::size_t>(count));
    }
    close(ends[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << command[0] << " failed: " << output.substr(0, 2000);
    return output;
}

Spawned::Spawned(const Arguments& command, const Variables& variables, const fs::path& log) {
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ == 0) {
        DieWithParent(parent);
        const int output = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        const int empty = open("/dev/null", O_RDONLY);
        dup2(empty, STDIN_FILENO);
        dup2(output, STDOUT_FILENO);
        dup2(output, STDERR_FILENO);
        Execute(command, variables);
    }
}

Spawned::Spawned(Spawned&& other) noexcept : pid_(other.pid_), status_(other.status_) { other.pid_ = -1; }

Spawned& Spawned::operator=(Spawned&& other) noexcept {
    std::swap(pid_, other.pid_);
    std::swap(status_, other.status_);
    return *this;
}

Spawned::~Spawned() {
    if (pid_ > 0 && Alive()) {
        kill(pid_, SIGKILL);
        WaitExit(10);
    }
}

bool Spawned::Alive() { return pid_ > 0 && !WaitExit(0).has_value(); }

void Spawned::Send(int signal) const {
    if (pid_ > 0) {  // -1 would be every process there is
        kill(pid_, signal);
    }
}

std::optional<int> Spawned::WaitExit(double seconds) {
    Eventually(
        [this] {
            int status = 0;
            if (!status_ && pid_ > 0 && waitpid(pid_, &status, WNOHANG) == pid_) {  // -1 would be any child
                status_ = status;
            }
            return status_.has_value();
        },
        static_cast<std::uint32_t>(seconds * 1000));
    return status_;
}

namespace {

// Option words of the server's own configuration file; sizes are chosen with xrandr later.
constexpr char dummyConfiguration[] = R"(
Section "ServerFlags"
    Option "AutoAddDevices" "false"
    Option "AutoAddGPU" "false"
EndSection
Section "Device"
    Identifier "card"
    Driver "dummy"
    VideoRam 256000
EndSection
Section "Monitor"
    Identifier "monitor"
    HorizSync 5.0 - 1000.0
    VertRefresh 5.0 - 200.0
EndSection
Section "Screen"
    Identifier "screen"
    Device "card"
    Monitor "monitor"
    DefaultDepth 24
    SubSection "Display"
        Depth 24
        Modes "1920x1080" "1280x1024" "1024x768"
        Virtual 3840 2160
    EndSubSection
EndSection
)";

Arguments ServerCommand(DisplayKind kind, const std::string& size, const fs::path& folder) {
    if (kind == DisplayKind::Plain) {
        return {"Xvfb", "-screen", "0", size + "x24"};
    }
    WriteAll(folder / "xorg.conf", dummyConfiguration);
    return {"Xorg",
            "-config",
            (folder / "xorg.conf").string(),
            "-configdir",
            (folder / "no-more").string(),
            "-logfile",
            (folder / "xorg.log").string(),
            "-novtswitch",
            "-sharevts"};
}

}  // namespace

PrivateDisplay::PrivateDisplay(const std::string& size, DisplayKind kind) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    Arguments command = ServerCommand(kind, size, folder_.Path());
    for (const std::string& more : {name_, std::string("-displayfd"), std::to_string(ends[1]), std::string("-noreset"),
                                    std::string("-nolisten"), std::string("tcp")}) {
        command.push_back(more);
    }
    server_ = Spawned(command, {}, folder_.Path() / "server.log");
    close(ends[1]);
    // To the end of the line: the server dies of a pipe that is closed before it has written all of it.
    std::string digits;
    for (char unit = 0; read(ends[0], &unit, 1) == 1 && unit != '\n';) {
        digits += unit;
    }
    close(ends[0]);
    EXPECT_EQ(":" + digits, name_) << ReadAll(folder_.Path() / "server.log");
    if (kind == DisplayKind::Changeable) {
        Change({"--output", "DUMMY0", "--mode", size});
    }
}

PrivateDisplay::~PrivateDisplay() {
    server_ = Spawned();
    ForgetDisplayNumber(number_);
}

void PrivateDisplay::Change(const Arguments& arguments) const {
    Arguments command{"env", "DISPLAY=" + name_, "xrandr"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    OutputOf(command, true);
}

void PressKey(const std::string& display, const std::string& combination) {
    OutputOf({"env", "DISPLAY=" + display, "xdotool", "key", combination});
}

std::vector<pid_t> ProcessesWith(const std::string& part) {
    std::vector<pid_t> found;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const pid_t pid = std::atoi(entry.path().filename().c_str());
        if (pid <= 0 || pid == getpid()) {
            continue;
        }
        std::string line = ReadAll(entry.path() / "cmdline");  // empty for a zombie
        std::replace(line.begin(), line.end(), '\0', ' ');
        if (line.find(part) != std::string::npos) {
            found.push_back(pid);
        }
    }
    return found;
}

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
    for (const char* name : {"data/ZVReelsMax", "tmp", "runtime", "config"}) {
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
    WriteAll(DataFolder() / "settings.ini", text);
    temporary_ = options.temporary.empty() ? home / "tmp" : fs::path(options.temporary);
    Variables variables{{"DISPLAY", display_},
                        {"HOME", home.string()},
                        {"LOCALAPPDATA", (home / "data").string()},
                        {"TMPDIR", temporary_.string()},
                        {"XDG_RUNTIME_DIR", (home / "runtime").string()},
                        {"XDG_CONFIG_HOME", (home / "config").string()},
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
                fprintf(stderr, "%s:\n%s\n", name, ReadAll(cache / name).c_str());
            }
        }
    }
}

std::vector<std::string> ProgramRun::Activity() const {
    std::vector<std::string> texts;
    std::istringstream rows(ReadAll(DataFolder() / "History" / "activity.log"));
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
    const fs::path caches = temporary_ / "ZVReelsMax";
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
        std::istringstream lines(ReadAll(folder / "live.m3u8"));
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

std::vector<pid_t> ProgramRun::FfmpegChildren() const { return ProcessesWith(temporary_.string() + "/ZVReelsMax"); }

std::vector<pid_t> ProgramRun::Children() const { return ProcessesWith(Home().string() + "/"); }

std::optional<int> ProgramRun::End(double seconds) {
    process_.Send(SIGTERM);
    const auto status = process_.WaitExit(seconds);
    if (!status) {
        return std::nullopt;
    }
    return WIFEXITED(*status) ? WEXITSTATUS(*status) : 128 + WTERMSIG(*status);
}

std::string ProgramRun::Log() const { return ReadAll(Home() / "program.log"); }

std::string ToUtf8(const std::u16string& text) { return std::filesystem::path(text).string(); }

std::string ProgramPath() { return ZV_PROGRAM_PATH; }
std::string MovingDesktopPath() { return ZV_MOVING_DESKTOP_PATH; }

namespace {

std::map<std::string, std::string> Pairs(const std::string& text) {
    std::map<std::string, std::string> pairs;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const auto equals = line.find('=');
        if (equals != std::string::npos) {
            pairs.emplace(line.substr(0, equals), line.substr(equals + 1));
        }
    }
    return pairs;
}

/// Whether "moov" comes in front of "mdat" among the file's top-level boxes (ISO/IEC 14496-12).
bool MovieBoxFirst(const fs::path& clip) {
    std::ifstream file(clip, std::ios::binary);
    std::uint64_t position = 0;
    for (unsigned char head[16];
         file.seekg(static_cast<std::streamoff>(position)).read(reinterpret_cast<char*>(head), 16);) {
        const std::string type(reinterpret_cast<char*>(head) + 4, 4);
        if (type == "moov" || type == "mdat") {
            return type == "moov";
        }
        std::uint64_t size = 0;
        for (int byte = 0; byte < 4; ++byte) {
            size = size << 8 | head[byte];
        }
        if (size == 1) {
            size = 0;
            for (int byte = 8; byte < 16; ++byte) {
                size = size << 8 | head[byte];
            }
        }
        if (size < 8) {
            return false;
        }
        position += size;
    }
    return false;
}

}  // namespace

ClipFacts Probe(const fs::path& clip, bool pictureTypes) {
    ClipFacts facts;
    facts.bytes = fs::exists(clip) ? fs::file_size(clip) : 0;
    const auto format = Pairs(OutputOf({"ffprobe", "-v", "error", "-show_entries", "format=duration", "-of",
                                        "default=noprint_wrappers=1", clip.string()}));
    facts.duration = format.contains("duration") ? std::atof(format.at("duration").c_str()) : 0;
    auto stream = Pairs(OutputOf({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_streams", "-of",
                                  "default=noprint_wrappers=1", clip.string()}));
    facts.codec = stream["codec_name"];
    facts.profile = stream["profile"];
    facts.pixelFormat = stream["pix_fmt"];
    facts.colorRange = stream["color_range"];
    facts.colorSpace = stream["color_space"];
    facts.colorTransfer = stream["color_transfer"];
    facts.colorPrimaries = stream["color_primaries"];
    facts.averageRate = stream["avg_frame_rate"];
    facts.width = std::atoi(stream["width"].c_str());
    facts.height = std::atoi(stream["height"].c_str());
    facts.bFrames = std::atoi(stream["has_b_frames"].c_str());
    facts.hasAudio = !OutputOf({"ffprobe", "-v", "error", "-select_streams", "a", "-show_entries", "stream=index",
                                "-of", "csv=p=0", clip.string()})
                          .empty();
    std::istringstream packets(OutputOf({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
                                         "packet=pts,pts_time,flags", "-of", "csv=p=0", clip.string()}));
    for (std::string line; std::getline(packets, line);) {
        const auto first = line.find(',');
        const auto second = line.find(',', first + 1);
        if (first == std::string::npos || second == std::string::npos) {
            continue;
        }
        if (line[second + 1] == 'K') {
            facts.keyFrames.push_back(facts.stamps.size());
        }
        facts.stamps.push_back(std::atoll(line.c_str()));
        facts.seconds.push_back(std::atof(line.c_str() + first + 1));
    }
    facts.indexFirst = MovieBoxFirst(clip);
    if (pictureTypes) {
        for (const char letter : OutputOf({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
                                           "frame=pict_type", "-of", "csv=p=0", clip.string()})) {
            if (std::isalpha(static_cast<unsigned char>(letter)) != 0) {
                facts.pictureTypes += letter;
            }
        }
    }
    return facts;
}

ScopedVariable::ScopedVariable(const char* name, const std::string& value) : name_(name) {
    if (const char* before = std::getenv(name)) {
        before_ = before;
    }
    value.empty() ? unsetenv(name) : setenv(name, value.c_str(), 1);
}

ScopedVariable::~ScopedVariable() { before_ ? setenv(name_.c_str(), before_->c_str(), 1) : unsetenv(name_.c_str()); }

void DecodeLuma(const fs::path& clip, int width, int height,
                const std::function<void(std::span<const std::uint8_t>)>& picture) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const pid_t parent = getpid();
    const pid_t pid = fork();
    if (pid == 0) {
        DieWithParent(parent);
        dup2(ends[1], STDOUT_FILENO);
        const int empty = open("/dev/null", O_RDONLY);
        dup2(empty, STDIN_FILENO);
        Execute({"ffmpeg", "-v", "error", "-i", clip.string(), "-map", "0:v:0", "-fps_mode", "passthrough", "-vf",
                 "extractplanes=y", "-f", "rawvideo", "-"},
                {});
    }
    close(ends[1]);
    std::vector<std::uint8_t> luma(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    std::size_t filled = 0;
    for (ssize_t count = 0; (count = read(ends[0], luma.data() + filled, luma.size() - filled)) > 0;) {
        filled += static_cast<std::size_t>(count);
        if (filled == luma.size()) {
            picture(luma);
            filled = 0;
        }
    }
    close(ends[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the clip does not decode";
    EXPECT_EQ(filled, 0U) << "the last picture is cut";
}

}  // namespace zv::support
