// The engine with a real FFmpeg, real children, pipes and files. Only the desktop and the sound are fakes: a script
// replaces the replay's FFmpeg and reports a frame count, and the tests write the segments.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "capture/CaptureEngine.h"
#include "capture/CaptureFiles.h"
#include "capture/FfmpegCommandLine.h"
#include "capture/ReplayPlaylist.h"
#include "core/Utf8.h"
#include "fake/AudioCapture.h"
#include "fake/VideoCapture.h"
#include "platform/BytePipe.h"
#include "platform/FfmpegInput.h"
#include "platform/Files.h"
#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/MediaProbe.h"
#include "support/Processes.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using namespace support;
namespace fs = std::filesystem;

class EngineWithFfmpeg : public testing::Test {
protected:
    EngineWithFfmpeg() {
        fake::ResetVideo();
        fake::ResetAudio();
    }
    ~EngineWithFfmpeg() override {
        engine.StopAll();
        EXPECT_TRUE(Eventually([this] { return ProcessesWith(folder.Path().string()).empty(); }, 20000))
            << "a child is left";
    }

    /// The replay is a child that waits for the quit command; all other children run `other`.
    void StartReplayScript(const std::string& other = "exec ffmpeg \"$@\"") {
        WriteBytes(folder.Path() / "ffmpeg-script",
                   "#!/bin/sh\n"
                   "for last; do :; done\n"
                   "case \"$*\" in\n"
                   "*' -progress '*) while [ \"$1\" != -progress ]; do shift; done\n"
                   "  echo frame=1000 >\"$2\"; read line; exit 0;;\n"
                   "esac\n" +
                       other + "\n");
        chmod((folder.Path() / "ffmpeg-script").c_str(), 0700);
        CaptureConfig config;
        config.width = 1920;
        config.height = 1080;
        ASSERT_TRUE(engine.Configure(config));
        ASSERT_TRUE(engine.StartReplay(true, 60)) << ToUtf8(engine.statusText);
    }
    /// FFmpeg's arguments for a ring in the replay folder, with a frame counter for a picture.
    Arguments RingCommand(bool sound, const std::string& pace, int seconds) const {
        const std::string ring = ToPath(engine.replayDir).string();
        Arguments command = {"ffmpeg", "-hide_banner", "-loglevel", "error", "-y"};
        const auto add = [&command](std::initializer_list<std::string> more) {
            command.insert(command.end(), more.begin(), more.end());
        };
        if (!pace.empty()) {
            add({pace});
        }
        add({"-f", "lavfi", "-i", "testsrc2=size=320x240:rate=30"});
        if (sound) {
            add({"-f", "lavfi", "-i", "sine=sample_rate=48000", "-c:a", "aac"});
        }
        add({"-t", std::to_string(seconds), "-c:v", "libx264", "-preset", "ultrafast", "-g", "30", "-bf", "0"});
        add({"-f", "hls", "-hls_time", "1", "-hls_list_size", "60", "-hls_flags",
             "delete_segments+temp_file+independent_segments", "-hls_segment_filename", ring + "/seg%08d.ts",
             ring + "/live.m3u8"});
        return command;
    }
    void MakeRing(bool sound, int seconds) { OutputOf(RingCommand(sound, "", seconds)); }

    void ExpectNoSaveLeft() {
        EXPECT_FALSE(fs::exists(ToPath(output)));
        EXPECT_FALSE(fs::exists(ToPath(WorkingName(output))));
        for (const auto& entry : fs::directory_iterator(ToPath(engine.cacheDir))) {
            EXPECT_FALSE(entry.is_directory() && entry.path().filename().string().starts_with("save-"));
        }
    }
    Text SaveFailure() const {
        return u"Replay save failed. Try again; details: " + JoinPath(engine.cacheDir, u"save-replay.log");
    }
    /// The time stamps of the pictures have no gap and do not decrease.
    static void ExpectSteady(const ClipFacts& facts) {
        for (std::size_t index = 1; index < facts.seconds.size(); ++index) {
            ASSERT_NEAR(facts.seconds[index] - facts.seconds[index - 1], 1.0 / 30, 0.002) << index;
        }
    }

    /// Creates the process's folder for pipes now, so that it is not created in a folder that a test removes.
    Text pipeFolderCreated = PipeName(u"", 0);
    TemporaryFolder folder{"zorvel-engine"};
    ScopedVariable cache{"XDG_CACHE_HOME", folder.Path().string()};
    ScopedVariable ffmpeg{"ZV_FFMPEG", (folder.Path() / "ffmpeg-script").string()};
    Text output = FromPath(folder.Path() / "captures" / "some game" / "it's a clip.mp4");
    CaptureEngine engine;
};

TEST_F(EngineWithFfmpeg, ReadsRawSoundWithTheFlagsOfThisPlatform) {
    ASSERT_NO_FATAL_FAILURE(StartReplayScript());
    const Text inputs = BuildEncoderInputs(engine.replay);
    EXPECT_NE(inputs.find(u"\"video pipe\" " + Text(rawPipeInputFlags) + u"-blocksize 3840 "), Text::npos);
}

TEST_F(EngineWithFfmpeg, SavesEverySecondOfTheRingWithPictureAndSound) {
    ASSERT_NO_FATAL_FAILURE(StartReplayScript());
    MakeRing(true, 5);
    EXPECT_EQ(engine.BufferedSeconds(), 5);
    EXPECT_TRUE(engine.SaveReplayClip(output)) << ToUtf8(engine.statusText);
    EXPECT_EQ(engine.statusText, u"Replay saved: " + output);
    const ClipFacts facts = Probe(ToPath(output));
    EXPECT_EQ(facts.codec, "h264");
    EXPECT_TRUE(facts.hasAudio);
    EXPECT_TRUE(facts.indexFirst);
    EXPECT_EQ(facts.stamps.size(), 150U);
    EXPECT_EQ(facts.keyFrames, (std::vector<std::size_t>{0, 30, 60, 90, 120}));
    EXPECT_NEAR(facts.duration, 5, 0.1);
    ExpectSteady(facts);
    EXPECT_TRUE(engine.replayRunning);
    EXPECT_TRUE(IsChildRunning(engine.replay));
}

TEST_F(EngineWithFfmpeg, SavesARingWithoutSound) {
    ASSERT_NO_FATAL_FAILURE(StartReplayScript());
    MakeRing(false, 3);
    EXPECT_TRUE(engine.SaveReplayClip(output)) << ToUtf8(engine.statusText);
    const ClipFacts facts = Probe(ToPath(output));
    EXPECT_FALSE(facts.hasAudio);
    EXPECT_EQ(facts.stamps.size(), 90U);
}

TEST_F(EngineWithFfmpeg, ADamagedRingFailsTheSaveAndTheLogHasTheReason) {
    ASSERT_NO_FATAL_FAILURE(StartReplayScript());
    WriteBytes(ToPath(JoinPath(engine.replayDir, u"seg00000000.ts")), "this is no transport stream");
    WriteBytes(ToPath(PlaylistPath(engine.replayDir)), "#EXTM3U\n#EXTINF:1.000000,\nseg00000000.ts\n");
    EXPECT_FALSE(engine.SaveReplayClip(output));
    EXPECT_EQ(engine.statusText, SaveFailure());
    EXPECT_NE(ReadBytes(ToPath(JoinPath(engine.cacheDir, u"save-replay.log"))), "");
    ExpectNoSaveLeft();
}

TEST_F(EngineWithFfmpeg, AnExitCodeOtherThanZeroFailsTheSaveOfAWholeFile) {
    ASSERT_NO_FATAL_FAILURE(StartReplayScript("ffmpeg \"$@\"; exit 7"));
    MakeRing(true, 2);
    EXPECT_FALSE(engine.SaveReplayClip(output));
    EXPECT_EQ(engine.statusText, SaveFailure());
    ExpectNoSaveLeft();
}

TEST_F(EngineWithFfmpeg, AnOutputOf1024BytesFailsTheSave) {
    ASSERT_NO_FATAL_FAILURE(StartReplayScript("head -c 1024 /dev/zero >\"$last\""));
    MakeRing(true, 2);
    EXPECT_FALSE(engine.SaveReplayClip(output));
    EXPECT_EQ(engine.statusText, SaveFailure());
    ExpectNoSaveLeft();
}

TEST_F(EngineWithFfmpeg, AChildThatIsKilledWhileItJoinsFailsTheSave) {
    ASSERT_NO_FATAL_FAILURE(StartReplayScript("head -c 5000 /dev/zero >\"$last\"; kill -9 $$"));
    MakeRing(true, 2);
    EXPECT_FALSE(engine.SaveReplayClip(output));
    EXPECT_EQ(engine.statusText, SaveFailure());
    ExpectNoSaveLeft();
}

TEST_F(EngineWithFfmpeg, AnFfmpegThatDisappearsWhileTheReplayRunsFailsTheSave) {
    ASSERT_NO_FATAL_FAILURE(StartReplayScript());
    MakeRing(true, 2);
    fs::remove(folder.Path() / "ffmpeg-script");
    EXPECT_FALSE(engine.SaveReplayClip(output));
    EXPECT_EQ(engine.statusText, SaveFailure());
    ExpectNoSaveLeft();
}

TEST_F(EngineWithFfmpeg, AChildThatIgnoresTheQuitCommandIsKilledWithAllThatItStarted) {
    EncoderProcess process;
    engine.ffmpegPath = FromPath(folder.Path() / "ffmpeg-script");
    WriteBytes(folder.Path() / "ffmpeg-script", "#!/bin/sh\nsleep 1000 </dev/null\n");
    chmod((folder.Path() / "ffmpeg-script").c_str(), 0700);
    ASSERT_TRUE(engine.StartChild(process, u"x", FromPath(folder.Path() / "a.log")));
    ASSERT_TRUE(Eventually([this] { return !ProcessesWith(folder.Path().string()).empty(); }));
    EXPECT_FALSE(engine.StopChild(process, 300));
    EXPECT_FALSE(process.process || process.stdinWrite || process.job);
    EXPECT_TRUE(Eventually([this] { return ProcessesWith(folder.Path().string()).empty(); }));
}

class RecordingWithFfmpeg : public EngineWithFfmpeg {
protected:
    /// Starts a ring that grows in real time, and a recording from it.
    void StartFromLiveRing(Spawned& ring) {
        ASSERT_NO_FATAL_FAILURE(StartReplayScript());
        ring = Spawned(RingCommand(true, "-re", 600), {}, folder.Path() / "ring.log");
        ASSERT_TRUE(Eventually([this] { return engine.BufferedSeconds() >= 3; }));
        ASSERT_TRUE(engine.StartRecording(output)) << ToUtf8(engine.statusText);
        EXPECT_EQ(engine.state, EngineState::Recording);
    }
    /// Kills the FFmpeg that writes the recording in this test's folder. Fails unless exactly one is found.
    void KillRecordingChild() const {
        const std::vector<pid_t> found = ProcessesWith(ToUtf8(WorkingName(output)));
        ASSERT_EQ(found.size(), 1U);
        ASSERT_GT(found[0], 1);  // 0 and below would name process groups
        kill(found[0], SIGKILL);
    }
};

TEST_F(RecordingWithFfmpeg, HoldsEverySegmentUntilItIsFinished) {
    Spawned ring;
    ASSERT_NO_FATAL_FAILURE(StartFromLiveRing(ring));
    const std::int32_t atStart = engine.BufferedSeconds();
    ASSERT_TRUE(Eventually([&] { return engine.BufferedSeconds() >= atStart + 5; }));
    EXPECT_FALSE(PollCapture(engine).changed);
    engine.FinishRecording();
    EXPECT_EQ(engine.statusText, u"Recording saved: " + output);
    EXPECT_EQ(engine.state, EngineState::Ready);
    EXPECT_FALSE(fs::exists(ToPath(WorkingName(output))));
    const ClipFacts facts = Probe(ToPath(output));
    EXPECT_TRUE(facts.hasAudio);
    EXPECT_GE(facts.stamps.size(), 6U * 30);
    EXPECT_EQ(facts.stamps.size() % 30, 0U);  // whole segments
    ExpectSteady(facts);
    EXPECT_TRUE(IsChildRunning(engine.replay));
}

TEST_F(RecordingWithFfmpeg, AKilledChildIsDetectedAndItsFileStays) {
    Spawned ring;
    ASSERT_NO_FATAL_FAILURE(StartFromLiveRing(ring));
    ASSERT_NO_FATAL_FAILURE(KillRecordingChild());
    CapturePollResult result;
    ASSERT_TRUE(Eventually([&] {
        result = PollCapture(engine);
        return result.changed;
    }));
    EXPECT_EQ(result.status, u"Recording encoder stopped unexpectedly. Logs: " + engine.cacheDir);
    EXPECT_EQ(engine.state, EngineState::Failed);
    EXPECT_TRUE(fs::exists(ToPath(WorkingName(output))));
    EXPECT_FALSE(fs::exists(ToPath(output)));
    EXPECT_FALSE(engine.recording.process || engine.recording.relay);
    EXPECT_TRUE(engine.replayRunning);
}

TEST_F(RecordingWithFfmpeg, AMissingSegmentEndsTheRecordingAndIsReported) {
    Spawned ring;
    ASSERT_NO_FATAL_FAILURE(StartFromLiveRing(ring));
    // A name in the list without its file.
    ring = Spawned();
    std::ofstream(ToPath(PlaylistPath(engine.replayDir)), std::ios::app) << "#EXTINF:1.0,\nseg99999999.ts\n";
    CapturePollResult result;
    ASSERT_TRUE(Eventually([&] {
        result = PollCapture(engine);
        return result.changed;
    }));
    EXPECT_EQ(result.status, u"Recording encoder stopped unexpectedly. Logs: " + engine.cacheDir);
    EXPECT_TRUE(fs::exists(ToPath(WorkingName(output))));
}

TEST_F(RecordingWithFfmpeg, ARingWithoutMediaCannotBeRecorded) {
    ASSERT_NO_FATAL_FAILURE(StartReplayScript("exit 1"));
    WriteBytes(ToPath(JoinPath(engine.replayDir, u"seg00000000.ts")), "x");
    WriteBytes(ToPath(PlaylistPath(engine.replayDir)), "#EXTINF:2.0,\nseg00000000.ts\n");
    EXPECT_FALSE(engine.StartRecording(output));
    EXPECT_EQ(engine.statusText,
              u"Recording could not start from replay. Check the recording folder and audio device; details are in "
              u"recording-remux.log.");
    EXPECT_EQ(engine.state, EngineState::Failed);
    EXPECT_FALSE(fs::exists(ToPath(WorkingName(output))));
}

}  // namespace
}  // namespace zv
