// The program under the driver doubles: its settings, their script and report, its history and its files.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/ChildProcess.h"
#include "platform/Clock.h"
#include "support/Eventually.h"
#include "support/TemporaryFolder.h"

namespace zv::windows {

using support::Eventually;
using support::generousMs;

// The tones of the sound devices of a scene.
inline constexpr double speakersHz = 1000;
inline constexpr double microphoneHz = 640;

/// The lines of the doubles' report that begin with `kind` ("complaint: " or "note: "), without it.
std::vector<std::string> ReportLines(const std::filesystem::path& report, const std::string& kind);

/// Runs a script in the shell of the machine that runs Wine, with `paths` as $1, $2... Returns its output.
std::string RunShell(const std::filesystem::path& folder, const std::string& script,
                     const std::vector<std::filesystem::path>& paths);

class DriverScene : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    static std::filesystem::path DataFolder();
    /// The executable of this build.
    static std::filesystem::path BuiltProgram();
    std::filesystem::path Report() const { return folder_.Path() / "report"; }

    void Setting(const std::string& line);
    void Script(const std::string& text);
    /// Replaces the script. Calls are counted from 1 again.
    void NewScript(const std::string& text);
    /// Installs speakers with a tone at half the level on the left and a quarter on the right, and a microphone with
    /// one at a quarter.
    void InstallSound();

    bool StartProgram(const Text& arguments = u" --background");
    bool EndProgram();
    std::vector<std::string> Activity() const;
    bool EventuallyLogs(const std::string& text) const;
    /// Replaces the script, sends a display change, and returns the next row of the history.
    std::string NextLogUnder(const std::string& script);
    /// Sends the main window the timer message that otherwise comes every 500 ms.
    static void Tick();
    std::size_t ListedSegments() const;
    /// Returns true if FFmpeg reports so many frames of a recording that has a capture of its own.
    static bool HasRecorded(std::int64_t frames);
    /// Presses keys, given as their decimal codes, in another process.
    void Press(const Text& codes);
    std::vector<std::filesystem::path> Screenshots() const;
    /// The file that the program reports as saved, or recorded, once it does.
    std::filesystem::path SavedClip() { return Saved("Replay saved: "); }
    std::filesystem::path SavedRecording() { return Saved("Recording saved: "); }

    support::TemporaryFolder folder_;
    Child program_;
    std::filesystem::path executable_;  ///< empty: BuiltProgram

private:
    std::filesystem::path Saved(const std::string& words);

    int scripts_ = 0;
};

}  // namespace zv::windows
