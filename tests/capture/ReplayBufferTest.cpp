#include "EngineFixture.h"

namespace zv {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ReplayBuffer : public EngineTest {
protected:
    /// The whole command line of a replay child.
    Text ReplayLine(const Text& inputs, const Text& seconds) const {
        return Quoted(Here(u"the ffmpeg")) + u" -hide_banner -loglevel warning -y -progress " +
               Quoted(InCache(u"replay.log.progress")) + u" -stats_period 0.5 " + inputs +
               u"-c:v copy -f hls -hls_time 1 -hls_list_size " + seconds +
               u" -hls_delete_threshold 3 -hls_flags delete_segments+temp_file+independent_segments "
               u"-hls_segment_filename " +
               Quoted(JoinPath(engine->replayDir, u"seg%08d.ts")) + u" " +
               Quoted(JoinPath(engine->replayDir, u"live.m3u8"));
    }
};

TEST_F(ReplayBuffer, StartsFfmpegWithItsExactCommandLine) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    EXPECT_TRUE(engine->StartReplay(true, 60));
    EXPECT_EQ(fake::LastChild().options.commandLine,
              ReplayLine(u"-thread_queue_size 64 -f mpegts -probesize 65536 -analyzeduration 0 -i \"video pipe\" "
                         u"-avioflags direct -blocksize 3840 -thread_queue_size 32 -f f32le -ar 48000 -ac 2 "
                         u"-probesize 32 -analyzeduration 0 -i \"audio pipe\" -map 0:v:0 -map 1:a:0 "
                         u"-af aresample=async=1000:first_pts=0 -c:a aac -b:a 192k -ar 48000 ",
                         u"60"));
    EXPECT_EQ(fake::LastChild().options.logPath, InCache(u"replay.log"));
    EXPECT_TRUE(engine->replayRunning);
    EXPECT_EQ(engine->state, EngineState::Ready);
    EXPECT_EQ(engine->statusText, u"Replay is buffering video and selected audio. Allow 2 seconds before saving.");
}

TEST_F(ReplayBuffer, WithoutSoundHasASingleInput) {
    CaptureConfig config = PlainConfig();
    config.gameAudioEnabled = false;
    ASSERT_TRUE(engine->Configure(config));
    EXPECT_TRUE(engine->StartReplay(true, 60));
    EXPECT_EQ(fake::LastChild().options.commandLine,
              ReplayLine(u"-thread_queue_size 64 -f mpegts -probesize 65536 -analyzeduration 0 -i \"video pipe\" "
                         u"-map 0:v:0 -an ",
                         u"60"));
    EXPECT_FALSE(engine->replay.audio);
}

TEST_F(ReplayBuffer, TheFolderIsNamedByTheTick) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    fake::TheClock().nowNs = 77'000'000'000;
    ASSERT_TRUE(engine->StartReplay(true, 60));
    EXPECT_EQ(engine->replayDir, InCache(u"replay-77000"));
    EXPECT_TRUE(std::filesystem::is_directory(ToPath(engine->replayDir)));
}

struct Length {
    std::int32_t asked;
    std::int32_t inForce;
};

void PrintTo(const Length& row, std::ostream* out) { *out << row.asked; }

class ReplayLength : public ReplayBuffer, public testing::WithParamInterface<Length> {};

TEST_P(ReplayLength, IsClampedAndBecomesTheListSize) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    ASSERT_TRUE(engine->StartReplay(true, GetParam().asked));
    EXPECT_EQ(engine->replaySeconds, GetParam().inForce);
    EXPECT_THAT(Narrow(fake::LastChild().options.commandLine),
                testing::HasSubstr(" -hls_list_size " + std::to_string(GetParam().inForce) + " -hls_delete"));
}

INSTANTIATE_TEST_SUITE_P(Seconds, ReplayLength,
                         testing::Values(Length{14, 15}, Length{15, 15}, Length{16, 16}, Length{300, 300},
                                         Length{301, 300}, Length{0, 15}, Length{-1, 15}, Length{2147483647, 300}));

TEST_F(ReplayBuffer, TheSameLengthAgainChangesNothing) {
    StartReplayWith(3);
    engine->statusText = u"as it was";
    EXPECT_TRUE(engine->StartReplay(true, 60));
    EXPECT_EQ(engine->statusText, u"as it was");
    EXPECT_EQ(ChildCount(), 1U);
    EXPECT_EQ(engine->BufferedSeconds(), 3);
    EXPECT_TRUE(engine->replayRunning);
}

TEST_F(ReplayBuffer, TheSameLengthIsComparedAfterClamping) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    ASSERT_TRUE(engine->StartReplay(true, 300));
    EXPECT_TRUE(engine->StartReplay(true, 999));
    EXPECT_EQ(ChildCount(), 1U);
}

TEST_F(ReplayBuffer, AnotherLengthStartsAgainFromAnEmptyFolder) {
    StartReplayWith(3);
    const Text before = engine->replayDir;
    fake::AdvanceClockMs(10);
    EXPECT_TRUE(engine->StartReplay(true, 90));
    EXPECT_EQ(ChildCount(), 2U);
    EXPECT_FALSE(ChildNumber(0).running);
    EXPECT_EQ(ChildNumber(0).input, "q\n");
    EXPECT_FALSE(Exists(before));
    EXPECT_NE(engine->replayDir, before);
    EXPECT_THAT(EntriesOf(engine->replayDir), IsEmpty());
    EXPECT_EQ(engine->replaySeconds, 90);
    EXPECT_TRUE(engine->replayRunning);
}

TEST_F(ReplayBuffer, ADeadChildIsReplacedEvenWithTheSameLength) {
    StartReplayWith(3);
    fake::EndChild(ChildNumber(0), 1);
    fake::AdvanceClockMs(10);
    EXPECT_TRUE(engine->StartReplay(true, 60));
    EXPECT_EQ(ChildCount(), 2U);
}

TEST_F(ReplayBuffer, DisablingStopsItAndRemovesItsFolder) {
    StartReplayWith(3);
    const Text folder = engine->replayDir;
    EXPECT_TRUE(engine->StartReplay(false, 20));
    EXPECT_EQ(engine->statusText, u"Replay stopped.");
    EXPECT_FALSE(engine->replayRunning);
    EXPECT_FALSE(engine->replay.process);
    EXPECT_EQ(engine->replaySeconds, 20);
    EXPECT_FALSE(Exists(folder));
    EXPECT_EQ(engine->replayDir, folder);  // the text stays
}

TEST_F(ReplayBuffer, DisablingWithoutAReplayReportsThatItStopped) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    EXPECT_TRUE(engine->StartReplay(false, 60));
    EXPECT_EQ(engine->statusText, u"Replay stopped.");
}

TEST_F(ReplayBuffer, IsRefusedWhileARecordingCapturesByItself) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    ASSERT_TRUE(engine->StartRecording(Here(u"a.mp4")));
    EXPECT_FALSE(engine->StartReplay(true, 90));
    EXPECT_EQ(engine->statusText, u"Stop manual recording before starting replay.");
    EXPECT_EQ(engine->replaySeconds, 60);
    EXPECT_EQ(engine->state, EngineState::Recording);
    EXPECT_TRUE(IsChildRunning(engine->recording));
}

TEST_F(ReplayBuffer, ARecordingThatReadsFromTheReplayDoesNotRefuseAnotherLength) {
    StartReplayWith(3);
    fake::TheChildren().onSpawn = [](fake::ScriptedChild& child) {
        WriteProgress(child, "frame=1000\n");
        if (child.options.logPath.ends_with(u"recording-remux.log")) {
            WriteFile(LastArgument(child.options.commandLine), std::string(2000, 'x'));
        }
    };
    ASSERT_TRUE(engine->StartRecording(Here(u"a.mp4")));
    const Text before = engine->replayDir;
    fake::AdvanceClockMs(10);
    EXPECT_TRUE(engine->StartReplay(true, 90));
    EXPECT_FALSE(Exists(before));
    EXPECT_THAT(fake::TheRelays().folders, ElementsAre(before));  // the relay still watches the removed folder
    EXPECT_TRUE(engine->recording.relay);
    EXPECT_EQ(engine->state, EngineState::Recording);
}

TEST_F(ReplayBuffer, AFolderThatCannotBeMadeIsReported) {
    StartReplayWith(3);
    fake::AdvanceClockMs(10);
    WriteFile(Here(u"a file"), "");
    engine->cacheDir = Here(u"a file");
    EXPECT_FALSE(engine->StartReplay(true, 90));
    EXPECT_EQ(engine->statusText, u"Cannot create replay cache.");
    EXPECT_FALSE(engine->replayRunning);
    EXPECT_FALSE(ChildNumber(0).running);
    EXPECT_EQ(ChildCount(), 1U);
}

TEST_F(ReplayBuffer, AFailedStartLeavesOnlyTheEmptyFolder) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    fake::FailCall("SpawnChild", 1, 0);
    EXPECT_FALSE(engine->StartReplay(true, 60));
    EXPECT_EQ(engine->statusText, u"Cannot start NVENC encoder. See " + InCache(u"replay.log"));
    EXPECT_FALSE(engine->replayRunning);
    EXPECT_FALSE(engine->replay.process);
    EXPECT_THAT(fake::TheVideo().alive, IsEmpty());
    EXPECT_TRUE(Exists(engine->replayDir));
    const Text left = engine->replayDir;
    fake::AdvanceClockMs(10);
    EXPECT_TRUE(engine->StartReplay(true, 60));
    EXPECT_FALSE(Exists(left));
}

TEST_F(ReplayBuffer, AnExceptionInTheStartLeavesNothingRunning) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    for (const char* call : {"VideoCapture::Start", "AudioCapture::Start", "SpawnChild"}) {
        fake::ThrowInCall(call, fake::CountOf(call) + 1);
        EXPECT_THROW(engine->StartReplay(true, 60), std::bad_alloc) << call;
        EXPECT_FALSE(engine->replayRunning) << call;
        EXPECT_FALSE(IsChildRunning(engine->replay) || engine->replay.video || engine->replay.audio) << call;
    }
}

TEST_F(ReplayBuffer, HasTheSecondsOfItsPlaylistAndNoneBefore) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    EXPECT_EQ(engine->BufferedSeconds(), 0);
    ASSERT_TRUE(engine->StartReplay(true, 60));
    EXPECT_EQ(engine->BufferedSeconds(), 0);
    WriteSegments(0, 7);
    EXPECT_EQ(engine->BufferedSeconds(), 7);
    engine->replayRunning = false;
    EXPECT_EQ(engine->BufferedSeconds(), 0);
}

TEST_F(ReplayBuffer, StopAllEndsRecordingAndReplayAndRemovesTheFolder) {
    StartReplayWith(3);
    fake::TheChildren().onSpawn = [](fake::ScriptedChild& child) {
        WriteFile(LastArgument(child.options.commandLine), std::string(2000, 'x'));
    };
    ASSERT_TRUE(engine->StartRecording(Here(u"a.mp4")));
    fake::TheRelays().onStop = [] { fake::EndChild(fake::LastChild(), 0); };
    engine->StopAll();
    EXPECT_TRUE(Exists(Here(u"a.mp4")));
    EXPECT_EQ(engine->statusText, u"Recording saved: " + Here(u"a.mp4"));
    EXPECT_FALSE(engine->replayRunning);
    EXPECT_FALSE(engine->replay.process);
    EXPECT_FALSE(Exists(engine->replayDir));
}

TEST_F(ReplayBuffer, DestroyingTheEngineDoesTheSame) {
    StartReplayWith(3);
    const Text folder = engine->replayDir;
    engine.reset();
    EXPECT_EQ(ChildNumber(0).input, "q\n");
    EXPECT_FALSE(ChildNumber(0).processHeld);
    EXPECT_FALSE(Exists(folder));
}

TEST_F(ReplayBuffer, DestroyingTheEngineThrowsNothingAndLeavesNoChild) {
    for (const char* call : {"WriteInput", "WaitForExit", "VideoCapture::Stop"}) {
        SCOPED_TRACE(call);
        engine = std::make_unique<CaptureEngine>();
        StartReplayWith(3);
        fake::ThrowInCall(call, fake::CountOf(call) + 1);
        engine.reset();
        EXPECT_FALSE(fake::LastChild().running);
        EXPECT_THAT(fake::TheVideo().alive, IsEmpty());
    }
}

TEST_F(ReplayBuffer, AChildHasThirtySecondsToEnd) {
    StartReplayWith(3);
    ChildNumber(0).exitsOnQuit = false;
    engine->StopAll();
    EXPECT_THAT(ChildNumber(0).waits.back(), 30000U);
    EXPECT_TRUE(ChildNumber(0).terminated);
}

}  // namespace
}  // namespace zv
