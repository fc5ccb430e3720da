// A run of the real program on a private display, with a look at its logs, files and children. Linux only.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/PrivateDisplay.h"
#include "support/Processes.h"
#include "support/TemporaryFolder.h"

namespace zv::support {

/// All files below a folder, in no particular order.
std::vector<std::filesystem::path> FilesBelow(const std::filesystem::path& folder);

/// The program under test.
std::string ProgramPath();
/// The program that paints numbered frames (MovingDesktop.cpp).
std::string MovingDesktopPath();

struct ProgramOptions {
    std::string display;
    std::map<std::string, std::string> settings{};  ///< added to the defaults: 1080p30, 8 Mbit/s, no sound
    Variables variables{};                          ///< added to the environment of the run
    std::string cache{};                            ///< the user's cache folder; empty: one of the run
    std::string program{};                          ///< the executable; empty: the one of this build
    bool background = true;                         ///< without its main window on the screen
};

/// The real program with its own folders. The destructor ends it, and prints its logs if the test has failed.
class ProgramRun {
public:
    explicit ProgramRun(const ProgramOptions& options);
    ~ProgramRun();

    Spawned& Process() { return process_; }
    const std::filesystem::path& Home() const { return folder_.Path(); }
    std::filesystem::path DataFolder() const { return Home() / "data" / "ZVReelsMax"; }
    std::filesystem::path CaptureRoot() const { return Home() / "captures"; }

    /// The texts of the activity log's rows, oldest first.
    std::vector<std::string> Activity() const;
    /// Waits for a row whose text begins with `beginning`, except in the first `skip` rows. Returns the text.
    std::optional<std::string> WaitForActivity(const std::string& beginning, std::size_t skip = 0,
                                               double seconds = 60) const;
    /// The cache folder; empty if the program has not created it.
    std::filesystem::path CacheFolder() const;
    /// The folder of the running replay; empty if no replay runs.
    std::filesystem::path ReplayFolder() const;
    /// Seconds of media in the replay's playlist.
    double BufferedSeconds() const;
    bool WaitForBuffer(double seconds, double limit = 90) const;
    void Press(const std::string& combination) const { PressKey(display_, combination); }
    /// The FFmpeg children of this run that write below the cache folder.
    std::vector<pid_t> FfmpegChildren() const;
    /// All FFmpeg children of this run, including those that only write a recording.
    std::vector<pid_t> Children() const;
    /// Ends the program as the end of the session does. Returns its exit code; empty if it hangs.
    std::optional<int> End(double seconds = 60);
    std::string Log() const;

private:
    TemporaryFolder folder_{"zorvel-run"};
    std::string display_;
    std::filesystem::path cache_;
    Spawned process_;
};

}  // namespace zv::support
