// Failures of a capture: the sentences for the user when a part of the real engine fails. Each test also checks that no
// handle and no child is left.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include "capture/CaptureEngine.h"
#include "capture/ReplayPlaylist.h"
#include "core/Utf8.h"
#include "platform/Files.h"
#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/MediaProbe.h"
#include "support/PrivateDisplay.h"
#include "support/Processes.h"
#include "support/SmallDisk.h"
#include "support/TemporaryFolder.h"
#include "video/Monitors.h"

namespace zv {
namespace {

using namespace support;
namespace fs = std::filesystem;

struct FailureEndToEnd : testing::Test {
    void TearDown() override {
        engine.StopAll();
        EXPECT_LE(OpenFiles(), filesBefore) << "a handle is left";
        EXPECT_TRUE(Eventually([&] { return Children().empty(); }, 10000)) << "a child is left";
        for (const auto& entry : fs::recursive_directory_iterator(folder.Path())) {
            const std::string name = entry.path().filename().string();
            EXPECT_FALSE(name.ends_with(".partial.mp4")) << name;
            EXPECT_FALSE(name.starts_with("save-") && entry.is_directory()) << name;
            EXPECT_FALSE(name.starts_with("replay-") && entry.is_directory()) << name;
        }
    }
    CaptureConfig Config() {
        CaptureConfig config;
        config.width = 1920;
        config.height = 1080;
        config.fps = 30;
        config.bitrateMbps = 8;
        config.gameAudioEnabled = false;
        const auto monitor = ResolveMonitor(u"");
        config.monitorDevice = monitor ? monitor->deviceName : u"";
        // Counted after the first look-up of monitors, which opens one connection for each thread.
        filesBefore = OpenFiles();
        return config;
    }
    std::vector<pid_t> Children() const { return ProcessesWith(folder.Path().string() + "/ZVReelsMax"); }
    void UseFfmpegScript(const std::string& body) {
        WriteBytes(folder.Path() / "ffmpeg-script", "#!/bin/sh\n" + body + "\n");
        chmod((folder.Path() / "ffmpeg-script").c_str(), 0700);
        setenv("ZV_FFMPEG", (folder.Path() / "ffmpeg-script").c_str(), 1);
    }
    void StartBuffering(int seconds = 2) {
        ASSERT_TRUE(engine.Configure(Config())) << ToUtf8(engine.statusText);
        ASSERT_TRUE(engine.StartReplay(true, 15)) << ToUtf8(engine.statusText);
        ASSERT_TRUE(Eventually([&] { return engine.BufferedSeconds() >= seconds; }, 90000));
    }
    /// Polls until something has changed, as the interface does twice a second.
    CapturePollResult PollUntilChanged() {
        CapturePollResult result;
        Eventually(
            [&] {
                result = PollCapture(engine);
                return result.changed;
            },
            90000);
        return result;
    }

    TemporaryFolder folder{"zorvel-failure"};
    PrivateDisplay display;
    // The process chooses the folder of the pipes once, so the folder has to outlive the first test.
    ScopedVariable runtime{"XDG_RUNTIME_DIR", std::filesystem::temp_directory_path().string()};
    ScopedVariable caches{"XDG_CACHE_HOME", folder.Path().string()};
    ScopedVariable screen{"DISPLAY", display.Name()};
    ScopedVariable ffmpeg{"ZV_FFMPEG", ""};
    CaptureEngine engine;
    std::size_t filesBefore = 0;
};

TEST_F(FailureEndToEnd, AKilledFfmpegIsReported) {
    StartBuffering();
    ASSERT_EQ(Children().size(), 1U);
    kill(Children()[0], SIGKILL);
    const auto result = PollUntilChanged();
    ASSERT_TRUE(result.changed);
    // The writer of the pipe or the poll of the child reports it, whichever is first.
    const Text encoder = u"Replay encoder stopped unexpectedly. Logs: " + engine.cacheDir;
    EXPECT_TRUE(result.status == encoder || result.status == u"Video encoder stopped accepting frames (0x80004005)" ||
                result.status == u"Video muxer disconnected (0x80004005)")
        << ToUtf8(result.status);
    EXPECT_FALSE(engine.replayRunning);
    EXPECT_EQ(engine.replay.process, nullptr);
    EXPECT_EQ(engine.replay.video, nullptr);
    EXPECT_EQ(engine.state, EngineState::Ready);
    EXPECT_FALSE(engine.SaveReplayClip(FromPath(folder.Path() / "captures" / "clip.mp4")));
    EXPECT_EQ(engine.statusText, u"Replay is not running. Enable Instant Replay first.");
}

TEST_F(FailureEndToEnd, ATextFileInPlaceOfFfmpegCannotBeStarted) {
    WriteBytes(folder.Path() / "ffmpeg.txt", "this is no program\n");
    setenv("ZV_FFMPEG", (folder.Path() / "ffmpeg.txt").c_str(), 1);
    ASSERT_TRUE(engine.Configure(Config()));
    EXPECT_FALSE(engine.StartReplay(true, 15));
    EXPECT_EQ(engine.statusText, u"Cannot start NVENC encoder. See " + JoinPath(engine.cacheDir, u"replay.log"));
    EXPECT_EQ(engine.replay.video, nullptr);
    EXPECT_FALSE(engine.replayRunning);
}

TEST_F(FailureEndToEnd, AnFfmpegThatExitsAtOnceIsReported) {
    UseFfmpegScript("exit 3");
    ASSERT_TRUE(engine.Configure(Config()));
    EXPECT_FALSE(engine.StartReplay(true, 15));
    EXPECT_EQ(engine.statusText, u"GPU recording could not start. No slow GDI fallback was used. Details: " +
                                     JoinPath(engine.cacheDir, u"replay.log"));
}

TEST_F(FailureEndToEnd, AnFfmpegThatIgnoresTheQuitCommandIsKilledAtTheTimeout) {
    UseFfmpegScript("exec ffmpeg \"$@\" </dev/null");
    StartBuffering();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(engine.StopChild(engine.replay, 3000));
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(took, std::chrono::milliseconds(2900));
    EXPECT_EQ(engine.replay.process, nullptr);
    EXPECT_TRUE(Children().empty());
}

TEST_F(FailureEndToEnd, AnFfmpegThatNeverOpensThePipeIsReported) {
    UseFfmpegScript("read line; exit 0");  // exits at the quit command, so that the stop is quick
    ASSERT_TRUE(engine.Configure(Config()));
    EXPECT_FALSE(engine.StartReplay(true, 15));
    EXPECT_EQ(engine.statusText, u"Video consumer did not connect (0x80004005)");
}

TEST_F(FailureEndToEnd, AnFfmpegThatStopsReadingForTenSecondsIsReported) {
    StartBuffering();
    const pid_t child = Children().at(0);
    kill(child, SIGSTOP);
    ASSERT_TRUE(Eventually([&] { return !engine.replay.video->running; }, 60000));
    kill(child, SIGCONT);  // so that the stop does not wait for its timeout
    const auto result = PollUntilChanged();
    EXPECT_EQ(result.status, u"Video muxer disconnected (0x80004005)");
    EXPECT_FALSE(engine.replayRunning);
}

TEST_F(FailureEndToEnd, ACacheFolderThatCannotBeCreatedIsReported) {
    WriteBytes(folder.Path() / "file", "");
    const ScopedVariable unusable("XDG_CACHE_HOME", (folder.Path() / "file").string());
    EXPECT_FALSE(engine.Configure(Config()));
    EXPECT_EQ(engine.statusText, u"Cannot create capture cache.");
    EXPECT_EQ(engine.state, EngineState::Failed);
}

TEST_F(FailureEndToEnd, AReplayFolderThatCannotBeCreatedIsReported) {
    ASSERT_TRUE(engine.Configure(Config()));
    fs::remove_all(ToPath(engine.cacheDir));
    WriteBytes(ToPath(engine.cacheDir), "a file in its place");
    EXPECT_FALSE(engine.StartReplay(true, 15));
    EXPECT_EQ(engine.statusText, u"Cannot create replay cache.");
    EXPECT_FALSE(engine.replayRunning);
}

TEST_F(FailureEndToEnd, AFullDiskDuringASaveKeepsTheRing) {
    const SmallDisk disk(folder.Path() / "captures", "256k");
    ASSERT_TRUE(disk.Mounted());
    StartBuffering(3);
    EXPECT_FALSE(engine.SaveReplayClip(FromPath(disk.Path() / "clip.mp4")));
    EXPECT_EQ(engine.statusText,
              u"Replay save failed. Try again; details: " + JoinPath(engine.cacheDir, u"save-replay.log"));
    EXPECT_TRUE(fs::is_empty(disk.Path()));
    EXPECT_TRUE(engine.replayRunning);
    // The same seconds can be saved on another disk.
    const fs::path clip = folder.Path() / "elsewhere" / "clip.mp4";
    EXPECT_TRUE(engine.SaveReplayClip(FromPath(clip))) << ToUtf8(engine.statusText);
    EXPECT_GE(Probe(clip).duration, 3);
}

TEST_F(FailureEndToEnd, AFullCacheDuringASaveIsReported) {
    StartBuffering(3);
    // The disk is too small for the copies of the segments, which have a megabyte each.
    const SmallDisk disk(folder.Path() / "small", "256k");
    ASSERT_TRUE(disk.Mounted());
    const Text cache = engine.cacheDir;
    engine.cacheDir = FromPath(disk.Path());
    EXPECT_FALSE(engine.SaveReplayClip(FromPath(folder.Path() / "captures" / "clip.mp4")));
    EXPECT_EQ(engine.statusText,
              u"Replay save failed. Try again; details: " + JoinPath(engine.cacheDir, u"save-replay.log"));
    engine.cacheDir = cache;
    EXPECT_TRUE(fs::is_empty(folder.Path() / "captures"));
    EXPECT_TRUE(fs::is_empty(disk.Path())) << "the save's folder is left";
}

TEST_F(FailureEndToEnd, AnOutputFolderThatIsAFileIsReported) {
    StartBuffering();
    WriteBytes(folder.Path() / "file", "");
    EXPECT_FALSE(engine.SaveReplayClip(FromPath(folder.Path() / "file" / "clip.mp4")));
    EXPECT_EQ(engine.statusText, u"Cannot create replay output file.");
}

TEST_F(FailureEndToEnd, AKilledXServerInterruptsTheCapture) {
    StartBuffering();
    display.Server().Send(SIGKILL);
    const auto result = PollUntilChanged();
    EXPECT_TRUE(
        result.status.starts_with(u"Desktop capture was interrupted. Unlock the desktop, then restart replay (0x8007"))
        << ToUtf8(result.status);
    EXPECT_FALSE(engine.replayRunning);
}

TEST_F(FailureEndToEnd, AResizedMonitorInterruptsTheCapture) {
    PrivateDisplay changeable("1920x1080", DisplayKind::Changeable);
    const ScopedVariable other("DISPLAY", changeable.Name());
    StartBuffering();
    changeable.Change({"--output", "DUMMY0", "--mode", "1024x768"});
    const auto result = PollUntilChanged();
    EXPECT_TRUE(
        result.status.starts_with(u"Desktop capture was interrupted. Unlock the desktop, then restart replay (0x8007"))
        << ToUtf8(result.status);
    // A new start captures the new size.
    EXPECT_TRUE(engine.StartReplay(true, 15)) << ToUtf8(engine.statusText);
    engine.StopAll();
}

TEST_F(FailureEndToEnd, AMissingMonitorIsReported) {
    CaptureConfig config = Config();
    config.monitorDevice += u"-gone";
    ASSERT_TRUE(engine.Configure(config));
    EXPECT_FALSE(engine.StartReplay(true, 15));
    EXPECT_EQ(engine.statusText, u"Selected monitor is not connected (0x887A0002)");
}

}  // namespace
}  // namespace zv
