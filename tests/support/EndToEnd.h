// What the road tests are made of: processes, private displays, the real program in folders of its own, and a look
// into the files that it made. Linux only. Everything that a test starts ends with the object that started it.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "support/DisplayNumber.h"
#include "support/Eventually.h"
#include "support/TemporaryFolder.h"

namespace zv::support {

using Arguments = std::vector<std::string>;
using Variables = std::map<std::string, std::string>;

std::string ReadAll(const std::filesystem::path& path);
void WriteAll(const std::filesystem::path& path, const std::string& bytes);

/// Every file below a folder; none when there is no such folder.
std::vector<std::filesystem::path> FilesBelow(const std::filesystem::path& folder);

/// How many descriptors this process has open.
std::size_t OpenFiles();

/// Runs a program to its end and answers its standard output; standard error joins it when `both`.
/// An exit code other than 0 is a failure of the test.
std::string OutputOf(const Arguments& command, bool both = false);

/// A process of the test's own. Killed and reaped at the end of the object; it also ends with the thread that started
/// it, however that ends.
class Spawned {
public:
    Spawned() = default;
    Spawned(const Arguments& command, const Variables& variables, const std::filesystem::path& log);
    ~Spawned();
    Spawned(Spawned&& other) noexcept;
    Spawned& operator=(Spawned&& other) noexcept;

    pid_t Pid() const { return pid_; }
    bool Alive();
    void Send(int signal) const;
    /// The status of waitpid, or nothing when the process did not end within the time.
    std::optional<int> WaitExit(double seconds = 60);

private:
    pid_t pid_ = -1;
    std::optional<int> status_;
};

/// Xvfb: one output of a fixed size, no primary. Xorg with the dummy driver: real mode changes and a primary.
enum class DisplayKind { Plain, Changeable };

/// An X server without a screen.
class PrivateDisplay {
public:
    explicit PrivateDisplay(const std::string& size = "1920x1080", DisplayKind kind = DisplayKind::Plain);
    ~PrivateDisplay();
    /// Runs xrandr on it.
    void Change(const Arguments& arguments) const;
    const std::string& Name() const { return name_; }
    Spawned& Server() { return server_; }

private:
    TemporaryFolder folder_{"zorvel-display"};
    int number_ = FreshDisplayNumber();
    std::string name_ = ":" + std::to_string(number_);
    Spawned server_;
};

/// Presses and releases a key with Alt or Control held, through the X server like a real keyboard.
void PressKey(const std::string& display, const std::string& combination);

/// The processes whose command line holds `part`, read from /proc, zombies left out.
std::vector<pid_t> ProcessesWith(const std::string& part);

struct ProgramOptions {
    std::string display;
    std::map<std::string, std::string> settings{};  ///< over the defaults of a test: 1080p30, 8 Mbit/s, no sound
    Variables variables{};                          ///< over the environment of the run
    std::string temporary{};                        ///< another temporary folder than the run's own
    std::string program{};                          ///< another copy than the one that the build made
    bool background = true;                         ///< without its main window on the screen
};

/// The real program, started in folders of its own.
class ProgramRun {
public:
    explicit ProgramRun(const ProgramOptions& options);
    ~ProgramRun();

    Spawned& Process() { return process_; }
    const std::filesystem::path& Home() const { return folder_.Path(); }
    std::filesystem::path DataFolder() const { return Home() / "data" / "ZVReelsMax"; }
    std::filesystem::path CaptureRoot() const { return Home() / "captures"; }
    std::filesystem::path TemporaryPath() const { return temporary_; }

    /// The texts of the activity log's rows, oldest first.
    std::vector<std::string> Activity() const;
    /// Waits for a row whose text begins with `beginning`, after the first `skip` rows; answers the text.
    std::optional<std::string> WaitForActivity(const std::string& beginning, std::size_t skip = 0,
                                               double seconds = 60) const;
    /// The cache folder, once the program has made it.
    std::filesystem::path CacheFolder() const;
    /// The folder of the running replay, empty while there is none.
    std::filesystem::path ReplayFolder() const;
    /// Seconds of media that the replay's playlist lists now.
    double BufferedSeconds() const;
    bool WaitForBuffer(double seconds, double limit = 90) const;
    void Press(const std::string& combination) const { PressKey(display_, combination); }
    /// FFmpeg children of this run that write below the cache folder.
    std::vector<pid_t> FfmpegChildren() const;
    /// All of its FFmpeg children, those that only write a recording among them.
    std::vector<pid_t> Children() const;
    /// Ends the program as the session's end does and waits for it; its exit code, or nothing when it hangs.
    std::optional<int> End(double seconds = 60);
    std::string Log() const;

private:
    TemporaryFolder folder_{"zorvel-run"};
    std::string display_;
    std::filesystem::path temporary_;
    Spawned process_;
};

/// UTF-8 of a text, for the messages of a test.
std::string ToUtf8(const std::u16string& text);

/// The path of the program under test and of the painter of numbered frames.
std::string ProgramPath();
std::string MovingDesktopPath();

struct ClipFacts {
    double duration = 0;  ///< seconds, of the container
    std::uint64_t bytes = 0;
    std::string codec, profile, pixelFormat, colorRange, colorSpace, colorTransfer, colorPrimaries, averageRate;
    int width = 0;
    int height = 0;
    int bFrames = -1;
    bool hasAudio = false;
    bool indexFirst = false;             ///< the movie box stands in front of the media data
    std::vector<std::int64_t> stamps;    ///< presentation stamps of the video packets in the stream's time base
    std::vector<double> seconds;         ///< the same in seconds
    std::vector<std::size_t> keyFrames;  ///< indices into them
    std::string pictureTypes;            ///< one letter a picture
};

/// Reads everything with ffprobe; picture types only when asked, since that decodes.
ClipFacts Probe(const std::filesystem::path& clip, bool pictureTypes = false);

/// An environment variable for the length of a test. An empty value removes it.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const std::string& value);
    ~ScopedVariable();
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    std::string name_;
    std::optional<std::string> before_;
};

/// Decodes the video and hands out each picture's luma as it is coded (16 to 235), at its full size, in order.
void DecodeLuma(const std::filesystem::path& clip, int width, int height,
                const std::function<void(std::span<const std::uint8_t>)>& picture);

}  // namespace zv::support
