// A capture engine over fakes for children, workers, clock, environment and folders, in a folder of its own.
//
// A wait for a child advances the clock. Every child writes a progress file with a frame count, unless a test scripts
// another one.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "capture/CaptureEngine.h"
#include "capture/ReplayPlaylist.h"
#include "fake/AudioCapture.h"
#include "fake/Calls.h"
#include "fake/ChildProcess.h"
#include "fake/Clock.h"
#include "fake/Environment.h"
#include "fake/Folders.h"
#include "fake/SegmentRelay.h"
#include "fake/VideoCapture.h"
#include "platform/Files.h"
#include "support/TemporaryFolder.h"

namespace zv {

inline Text Quoted(const Text& text) { return u"\"" + text + u"\""; }

inline void WriteFile(const Text& path, const std::string& content) {
    std::ofstream file(ToPath(path), std::ios::binary | std::ios::trunc);
    file << content;
}

inline std::string ReadWhole(const Text& path, std::ios::openmode mode = std::ios::binary) {
    std::ifstream file(ToPath(path), mode | std::ios::in);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

inline bool Exists(const Text& path) { return std::filesystem::exists(ToPath(path)); }

/// The text in the last pair of double quotes of a command line.
inline Text LastArgument(const Text& commandLine) {
    const std::size_t end = commandLine.rfind(u'"');
    const std::size_t begin = commandLine.rfind(u'"', end - 1);
    return commandLine.substr(begin + 1, end - begin - 1);
}

/// A configuration without a speed check.
inline CaptureConfig PlainConfig() {
    CaptureConfig config;
    config.width = 1920;
    config.height = 1080;
    config.fps = 60;
    config.bitrateMbps = 20;
    config.monitorDevice = u"\\\\.\\DISPLAY2";
    return config;
}

class EngineTest : public testing::Test {
protected:
    EngineTest() {
        fake::ResetCalls();
        fake::ResetClock();
        fake::ResetChildren();
        fake::ResetVideo();
        fake::ResetAudio();
        fake::ResetRelays();
        fake::TheFolders().cache = Here(u"cache");
        fake::TheEnvironment() = {};
        fake::TheEnvironment().executableFolder = Here(u"program");
        std::filesystem::create_directory(ToPath(Here(u"program")));
        WriteFile(Here(u"the ffmpeg"), "not run by these tests");
        fake::TheEnvironment().variables[u"ZV_FFMPEG"] = Here(u"the ffmpeg");
        fake::TheChildren().onSpawn = [](fake::ScriptedChild& child) { WriteProgress(child, "frame=1000\n"); };
        fake::TheChildren().onWait = [](fake::ScriptedChild&, std::uint32_t timeoutMs) {
            fake::AdvanceClockMs(timeoutMs);
        };
        engine = std::make_unique<CaptureEngine>();
    }
    ~EngineTest() override { engine.reset(); }

    static void WriteProgress(const fake::ScriptedChild& child, const std::string& text) {
        WriteFile(child.options.logPath + u".progress", text);
    }

    Text Here(TextView name) const { return JoinPath(FromPath(folder_.Path()), name); }
    Text InCache(TextView name) const { return JoinPath(engine->cacheDir, name); }

    /// A configured engine with a running replay whose playlist lists `segments` of one second each.
    void StartReplayWith(int segments, const CaptureConfig& config = PlainConfig()) {
        ASSERT_TRUE(engine->Configure(config));
        ASSERT_TRUE(engine->StartReplay(true, 60));
        WriteSegments(0, segments);
    }

    /// Writes segments and a playlist that lists them.
    void WriteSegments(int first, int count) {
        std::string playlist = "#EXTM3U\n#EXT-X-VERSION:6\n#EXT-X-TARGETDURATION:1\n#EXT-X-MEDIA-SEQUENCE:0\n";
        for (int number = first; number < first + count; ++number) {
            const std::string name = SegmentName(number);
            WriteFile(JoinPath(engine->replayDir, Widen(name)), "content of " + name);
            playlist += "#EXTINF:1.000000,\n" + name + "\n";
        }
        WriteFile(PlaylistPath(engine->replayDir), playlist);
    }

    static std::string SegmentName(int number) {
        std::string digits = std::to_string(number);
        return "seg" + std::string(8 - digits.size(), '0') + digits + ".ts";
    }

    /// Names of the entries of a folder, sorted.
    static std::vector<Text> EntriesOf(const Text& folder) {
        std::vector<Text> names;
        for (const auto& entry : std::filesystem::directory_iterator(ToPath(folder))) {
            names.push_back(FromPath(entry.path().filename()));
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    static fake::ScriptedChild& ChildNumber(std::size_t index) { return *fake::TheChildren().children.at(index); }
    static std::size_t ChildCount() { return fake::TheChildren().children.size(); }

private:
    support::TemporaryFolder folder_;

protected:
    std::unique_ptr<CaptureEngine> engine;
};

/// All calls of `names`, in order.
inline std::vector<std::string> CallsAmong(const std::vector<std::string>& names) {
    std::vector<std::string> found;
    for (const std::string& call : fake::CallNames()) {
        if (std::find(names.begin(), names.end(), call) != names.end()) {
            found.push_back(call);
        }
    }
    return found;
}

}  // namespace zv
