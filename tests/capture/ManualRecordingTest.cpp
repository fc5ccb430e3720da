#include "EngineFixture.h"

namespace zv {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ManualRecording : public EngineTest {
protected:
    /// Every recording child writes `bytes` bytes at once.
    void ScriptMedia(std::size_t bytes) {
        fake::TheChildren().onSpawn = [this, bytes](fake::ScriptedChild& child) {
            WriteProgress(child, "frame=1000\n");
            if (LastArgument(child.options.commandLine) == working) {
                WriteFile(working, std::string(bytes, 'x'));
            }
        };
    }
    void StartFromReplay() {
        StartReplayWith(3);
        ScriptMedia(2000);
        ASSERT_TRUE(engine->StartRecording(output));
        fake::TheRelays().onStop = [] { fake::EndChild(fake::LastChild(), 0); };
    }
    void StartOwn() {
        ASSERT_TRUE(engine->Configure(PlainConfig()));
        ScriptMedia(2000);
        ASSERT_TRUE(engine->StartRecording(output));
    }
    bool RecordingIsEmpty() const {
        return !engine->recording.process && !engine->recording.video && !engine->recording.audio;
    }
    static std::uint64_t Now() { return static_cast<std::uint64_t>(fake::TheClock().nowNs / 1'000'000); }

    Text output = Here(u"a.mp4");
    Text working = Here(u"a.mp4.partial.mp4");
    static constexpr const char16_t* remuxFailed =
        u"Recording could not start from replay. Check the recording folder and audio device; details are in "
        u"recording-remux.log.";
};

TEST_F(ManualRecording, FromTheReplayReadsItsSegmentsThroughARelay) {
    StartFromReplay();
    EXPECT_EQ(engine->state, EngineState::Recording);
    EXPECT_EQ(engine->statusText, u"Recording started. Stop Recording to finalize video and selected audio.");
    EXPECT_EQ(engine->recordingPath, output);
    EXPECT_THAT(fake::TheRelays().folders, ElementsAre(engine->replayDir));
    EXPECT_EQ(fake::LastChild().options.commandLine,
              Quoted(Here(u"the ffmpeg")) +
                  u" -hide_banner -loglevel warning -y -probesize 67108864 -analyzeduration 3000000 -f mpegts "
                  u"-i \"segment pipe\" -map 0:v:0 -map 0:a? -c copy -bsf:a aac_adtstoasc -frag_duration 1000000 "
                  u"-movflags +frag_keyframe+empty_moov+default_base_moof " +
                  Quoted(working));
    EXPECT_EQ(fake::LastChild().options.logPath, InCache(u"recording-remux.log"));
    EXPECT_THAT(fake::TheVideo().starts, SizeIs(1));  // no second capture
}

TEST_F(ManualRecording, WithoutAReplayCapturesByItself) {
    StartOwn();
    EXPECT_EQ(engine->state, EngineState::Recording);
    EXPECT_EQ(engine->statusText, u"Recording started. Stop Recording to finalize video and selected audio.");
    EXPECT_EQ(fake::LastChild().options.commandLine,
              Quoted(Here(u"the ffmpeg")) + u" -hide_banner -loglevel warning -y -progress " +
                  Quoted(InCache(u"recording.log.progress")) +
                  u" -stats_period 0.5 -thread_queue_size 64 -f mpegts -probesize 65536 -analyzeduration 0 "
                  u"-i \"video pipe\" -avioflags direct -blocksize 3840 -thread_queue_size 32 -f f32le -ar 48000 "
                  u"-ac 2 -probesize 32 -analyzeduration 0 -i \"audio pipe\" -map 0:v:0 -map 1:a:0 "
                  u"-af aresample=async=1000:first_pts=0 -c:a aac -b:a 192k -ar 48000 -c:v copy "
                  u"-movflags +frag_keyframe+empty_moov+default_base_moof " +
                  Quoted(working));
    EXPECT_EQ(fake::LastChild().options.logPath, InCache(u"recording.log"));
    EXPECT_FALSE(engine->recording.relay);
}

TEST_F(ManualRecording, WithoutSoundWaitsForNone) {
    CaptureConfig config = PlainConfig();
    config.gameAudioEnabled = false;
    ASSERT_TRUE(engine->Configure(config));
    EXPECT_TRUE(engine->StartRecording(output));
    EXPECT_FALSE(engine->recording.audio);
    EXPECT_THAT(Narrow(fake::LastChild().options.commandLine), testing::HasSubstr(" -map 0:v:0 -an -c:v copy "));
}

TEST_F(ManualRecording, ADeadReplayIsIgnored) {
    StartReplayWith(3);
    fake::EndChild(ChildNumber(0), 1);
    ScriptMedia(2000);
    EXPECT_TRUE(engine->StartRecording(output));
    EXPECT_FALSE(engine->recording.relay);
    EXPECT_TRUE(engine->recording.video);
}

TEST_F(ManualRecording, ASecondStartWhileOneRunsChangesNothing) {
    StartFromReplay();
    engine->statusText = u"before";
    EXPECT_FALSE(engine->StartRecording(Here(u"b.mp4")));
    EXPECT_EQ(engine->statusText, u"before");
    EXPECT_EQ(engine->recordingPath, output);
    EXPECT_EQ(engine->state, EngineState::Recording);
}

TEST_F(ManualRecording, ADeadOneIsClearedFirst) {
    StartOwn();
    fake::EndChild(fake::LastChild(), 1);
    output = Here(u"b.mp4");
    working = Here(u"b.mp4.partial.mp4");
    EXPECT_TRUE(engine->StartRecording(output));
    EXPECT_FALSE(ChildNumber(0).processHeld);
    EXPECT_THAT(fake::TheVideo().alive, SizeIs(1));
}

TEST_F(ManualRecording, IsRefusedWhenAFileOfThatNameExists) {
    StartReplayWith(3);
    const Text refusal = u"Cannot create recording file (folder denied or file exists).";
    WriteFile(output, "mine");
    EXPECT_FALSE(engine->StartRecording(output));
    EXPECT_EQ(engine->statusText, refusal);
    std::filesystem::remove(ToPath(output));
    WriteFile(working, "left over");
    engine->statusText.clear();
    EXPECT_FALSE(engine->StartRecording(output));
    EXPECT_EQ(engine->statusText, refusal);
    EXPECT_EQ(ReadWhole(working), "left over");
    EXPECT_EQ(engine->state, EngineState::Ready);
    EXPECT_EQ(engine->recordingPath, u"");
}

TEST_F(ManualRecording, IsRefusedByAnUnusableFolderBeforeAnyRelayIsMade) {
    StartReplayWith(3);
    WriteFile(Here(u"a file"), "");
    EXPECT_FALSE(engine->StartRecording(JoinPath(Here(u"a file"), u"a.mp4")));
    EXPECT_EQ(engine->statusText, u"Cannot create recording file (folder denied or file exists).");
    EXPECT_EQ(engine->state, EngineState::Ready);
    EXPECT_THAT(fake::TheRelays().folders, IsEmpty());
}

TEST_F(ManualRecording, TheFolderIsMadeWithItsParents) {
    StartReplayWith(3);
    output = JoinPath(JoinPath(Here(u"Zorvel"), u"Game"), u"a.mp4");
    working = output + u".partial.mp4";
    ScriptMedia(2000);
    EXPECT_TRUE(engine->StartRecording(output));
}

TEST_F(ManualRecording, WaitsFourSecondsForMediaAndWorksAtALaterPress) {
    StartReplayWith(0);
    ScriptMedia(2000);
    const std::uint64_t before = Now();
    EXPECT_FALSE(engine->StartRecording(output));
    EXPECT_EQ(Now() - before, 4000U);
    EXPECT_EQ(engine->statusText, u"Replay is still warming up. Try Record again in a moment.");
    EXPECT_EQ(engine->state, EngineState::Ready);
    EXPECT_THAT(fake::TheRelays().folders, IsEmpty());
    WriteSegments(0, 1);
    EXPECT_TRUE(engine->StartRecording(output));
    EXPECT_EQ(engine->state, EngineState::Recording);
}

TEST_F(ManualRecording, DoesNotWaitIfMediaExists) {
    StartReplayWith(1);
    ScriptMedia(2000);
    const std::uint64_t before = Now();
    EXPECT_TRUE(engine->StartRecording(output));
    EXPECT_EQ(Now(), before);
}

TEST_F(ManualRecording, ARelayThatDoesNotStartFailsTheStart) {
    StartReplayWith(3);
    fake::FailCall("SegmentRelay::Start", 1, 0);
    EXPECT_FALSE(engine->StartRecording(output));
    EXPECT_EQ(engine->statusText, remuxFailed);
    EXPECT_EQ(engine->state, EngineState::Failed);
    EXPECT_EQ(ChildCount(), 1U);
    EXPECT_TRUE(engine->replayRunning);
}

TEST_F(ManualRecording, AnotherStartReplacesTheRelayOfAFailedOne) {
    StartReplayWith(3);
    fake::FailCall("SegmentRelay::Start", 1, 0);
    ASSERT_FALSE(engine->StartRecording(output));
    ScriptMedia(2000);
    EXPECT_TRUE(engine->StartRecording(output));
    EXPECT_THAT(fake::TheRelays().alive, SizeIs(1));
    EXPECT_EQ(engine->state, EngineState::Recording);
}

TEST_F(ManualRecording, AnOwnCaptureAfterARelayThatDidNotStartIsSavedLikeAnyOther) {
    StartReplayWith(3);
    fake::FailCall("SegmentRelay::Start", 1, 0);
    ASSERT_FALSE(engine->StartRecording(output));
    engine->StartReplay(false, 60);
    ScriptMedia(2000);
    ASSERT_TRUE(engine->StartRecording(output));
    EXPECT_FALSE(engine->recording.relay);
    engine->FinishRecording();
    EXPECT_EQ(fake::LastChild().input, "q\n");
    EXPECT_EQ(engine->statusText, u"Recording saved: " + output);
}

TEST_F(ManualRecording, AChildThatDoesNotStartFailsTheStart) {
    StartReplayWith(3);
    fake::FailCall("SpawnChild", 2, 0);
    EXPECT_FALSE(engine->StartRecording(output));
    EXPECT_EQ(engine->statusText, remuxFailed);
    EXPECT_EQ(engine->state, EngineState::Failed);
    EXPECT_TRUE(RecordingIsEmpty());
    EXPECT_THAT(fake::TheRelays().alive, IsEmpty());
}

TEST_F(ManualRecording, NoMediaInTwelveSecondsFailsTheStart) {
    StartReplayWith(3);
    ScriptMedia(1024);
    const std::uint64_t before = Now();
    EXPECT_FALSE(engine->StartRecording(output));
    EXPECT_EQ(engine->statusText, remuxFailed);
    EXPECT_EQ(engine->state, EngineState::Failed);
    EXPECT_EQ(Now() - before, 12000U + 30000U);  // the child is then given its time to end
    EXPECT_FALSE(Exists(working));
    EXPECT_TRUE(RecordingIsEmpty());
    EXPECT_TRUE(engine->replayRunning);
    EXPECT_TRUE(ChildNumber(0).running);
}

TEST_F(ManualRecording, AChildThatDiesAtTheStartFailsItAtOnce) {
    StartReplayWith(3);
    fake::TheChildren().onSpawn = [this](fake::ScriptedChild& child) {
        WriteFile(working, std::string(5000, 'x'));
        fake::EndChild(child, 1);
    };
    const std::uint64_t before = Now();
    EXPECT_FALSE(engine->StartRecording(output));
    EXPECT_EQ(Now(), before);
    EXPECT_EQ(engine->statusText, remuxFailed);
    EXPECT_FALSE(Exists(working));
}

TEST_F(ManualRecording, AnOwnCaptureThatFailsKeepsItsOwnSentence) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    fake::FailCall("VideoCapture::Start", 1, 0);
    EXPECT_FALSE(engine->StartRecording(output));
    EXPECT_EQ(engine->statusText, u"Video could not start.");
    EXPECT_EQ(engine->state, EngineState::Failed);
    EXPECT_TRUE(RecordingIsEmpty());
}

TEST_F(ManualRecording, AnExceptionInTheStartLeavesNothingRunning) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    for (const char* call : {"VideoCapture::Start", "AudioCapture::Start", "SpawnChild"}) {
        engine->state = EngineState::Ready;
        fake::ThrowInCall(call, fake::CountOf(call) + 1);
        EXPECT_THROW(engine->StartRecording(Here(u"a.mp4")), std::bad_alloc) << call;
        EXPECT_EQ(engine->state, EngineState::Failed) << call;
        EXPECT_FALSE(IsChildRunning(engine->recording) || engine->recording.video || engine->recording.audio) << call;
    }
}

TEST_F(ManualRecording, AnOwnCaptureThatFailsLeavesNoWorkingFile) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    fake::TheChildren().onSpawn = [this](fake::ScriptedChild& child) {
        WriteFile(working, "a beginning");
        fake::EndChild(child, 1);
    };
    EXPECT_FALSE(engine->StartRecording(output));
    EXPECT_EQ(engine->statusText,
              u"GPU recording could not start. No slow GDI fallback was used. Details: " + InCache(u"recording.log"));
    EXPECT_FALSE(Exists(working));
    EXPECT_EQ(engine->state, EngineState::Failed);
}

TEST_F(ManualRecording, FromTheReplayIsSavedAtTheEndOfItsInput) {
    StartFromReplay();
    engine->FinishRecording();
    EXPECT_EQ(fake::LastChild().input, "");  // no quit command
    EXPECT_EQ(engine->state, EngineState::Ready);
    EXPECT_EQ(engine->statusText, u"Recording saved: " + output);
    EXPECT_TRUE(Exists(output));
    EXPECT_FALSE(Exists(working));
    EXPECT_TRUE(RecordingIsEmpty());
    EXPECT_THAT(fake::TheRelays().alive, IsEmpty());
    EXPECT_TRUE(engine->replayRunning);
    EXPECT_TRUE(ChildNumber(0).running);
}

TEST_F(ManualRecording, AnOwnCaptureIsSavedAfterTheQuitCommand) {
    StartOwn();
    engine->FinishRecording();
    EXPECT_EQ(fake::LastChild().input, "q\n");
    EXPECT_EQ(engine->state, EngineState::Ready);
    EXPECT_EQ(engine->statusText, u"Recording saved: " + output);
    EXPECT_TRUE(Exists(output));
    EXPECT_THAT(fake::TheVideo().alive, IsEmpty());
}

TEST_F(ManualRecording, FinishingNothingChangesNothing) {
    StartReplayWith(3);
    engine->statusText = u"before";
    engine->FinishRecording();
    EXPECT_EQ(engine->statusText, u"before");
    EXPECT_EQ(engine->state, EngineState::Ready);
}

class UnfinishedRecording : public ManualRecording {
protected:
    void ExpectUnfinished() {
        EXPECT_EQ(engine->state, EngineState::Failed);
        EXPECT_EQ(engine->statusText, u"Recording failed or did not finalize. See " + InCache(u"recording.log"));
        EXPECT_TRUE(Exists(working));
        EXPECT_TRUE(RecordingIsEmpty());
    }
};

TEST_F(UnfinishedRecording, AChildThatDoesNotEndIsKilledAfterThirtySecondsAndItsFileStays) {
    StartFromReplay();
    fake::TheRelays().onStop = nullptr;
    engine->FinishRecording();
    EXPECT_THAT(fake::LastChild().waits, ElementsAre(30000U));
    EXPECT_TRUE(fake::LastChild().terminated);
    ExpectUnfinished();
    EXPECT_FALSE(Exists(output));
}

TEST_F(UnfinishedRecording, AnotherExitCodeIsAFailure) {
    StartOwn();
    fake::LastChild().quitCode = 1;
    engine->FinishRecording();
    ExpectUnfinished();
    EXPECT_FALSE(Exists(output));
}

TEST_F(UnfinishedRecording, AnOutputOf1024BytesIsNoRecording) {
    StartOwn();
    WriteFile(working, std::string(1024, 'x'));
    engine->FinishRecording();
    ExpectUnfinished();
    EXPECT_FALSE(Exists(output));
}

TEST_F(UnfinishedRecording, AFailedRenameLeavesTheWorkingFile) {
    StartOwn();
    std::filesystem::create_directories(ToPath(JoinPath(output, u"in the way")));
    engine->FinishRecording();
    ExpectUnfinished();
}

TEST_F(UnfinishedRecording, ANextRecordingCanBeStarted) {
    StartOwn();
    fake::LastChild().quitCode = 1;
    engine->FinishRecording();
    output = Here(u"b.mp4");
    working = Here(u"b.mp4.partial.mp4");
    EXPECT_TRUE(engine->StartRecording(output));
    EXPECT_EQ(engine->state, EngineState::Recording);
}

TEST_F(ManualRecording, AnOutputOf1025BytesIsARecording) {
    StartReplayWith(3);
    ScriptMedia(1025);
    ASSERT_TRUE(engine->StartRecording(output));
    fake::TheRelays().onStop = [] { fake::EndChild(fake::LastChild(), 0); };
    engine->FinishRecording();
    EXPECT_EQ(engine->state, EngineState::Ready);
    EXPECT_TRUE(Exists(output));
}

}  // namespace
}  // namespace zv
