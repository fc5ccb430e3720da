#include "EngineFixture.h"

namespace zv {
namespace {

using testing::IsEmpty;

class HealthPoll : public EngineTest {
protected:
    void StartOwnRecording() {
        ASSERT_TRUE(engine->Configure(PlainConfig()));
        ASSERT_TRUE(engine->StartRecording(output));
        WriteFile(working, std::string(2000, 'x'));
        engine->statusText = u"before";
    }
    void StartRecordingFromReplay() {
        StartReplayWith(3);
        fake::TheChildren().onSpawn = [this](fake::ScriptedChild&) { WriteFile(working, std::string(2000, 'x')); };
        ASSERT_TRUE(engine->StartRecording(output));
        fake::TheRelays().onStop = [] { fake::EndChild(ChildNumber(1), 0); };
        engine->statusText = u"before";
    }
    void ExpectRecordingFailed(const Text& status) {
        EXPECT_EQ(engine->state, EngineState::Failed);
        EXPECT_EQ(engine->statusText, status);
        EXPECT_FALSE(engine->recording.process || engine->recording.video || engine->recording.audio);
        EXPECT_TRUE(Exists(working));  // stays where it is
        EXPECT_FALSE(Exists(output));
    }
    void ExpectReplayStopped(const Text& status) {
        EXPECT_FALSE(engine->replayRunning);
        EXPECT_EQ(engine->statusText, status);
        EXPECT_FALSE(engine->replay.process || engine->replay.video || engine->replay.audio);
    }

    Text output = Here(u"a.mp4");
    Text working = Here(u"a.mp4.partial.mp4");
};

TEST_F(HealthPoll, ReportsNothingWhileEverythingRuns) {
    StartRecordingFromReplay();
    engine->PollHealth();
    EXPECT_EQ(engine->statusText, u"before");
    EXPECT_TRUE(engine->replayRunning);
    EXPECT_EQ(engine->state, EngineState::Recording);
    EXPECT_EQ(ChildNumber(0).input, "");
}

TEST_F(HealthPoll, ARecordingWhoseVideoDiedFails) {
    StartOwnRecording();
    fake::FailVideo(*engine->recording.video, u"Video lost (0x887A0026)");
    engine->PollHealth();
    ExpectRecordingFailed(u"Video lost (0x887A0026)");
}

TEST_F(HealthPoll, VideoThatDiedWithoutASentenceLeavesNone) {
    StartOwnRecording();
    fake::FailVideo(*engine->recording.video, u"");
    engine->PollHealth();
    ExpectRecordingFailed(u"");
}

TEST_F(HealthPoll, AReplayWhoseVideoDiedStops) {
    StartReplayWith(3);
    fake::FailVideo(*engine->replay.video, u"Video lost");
    engine->PollHealth();
    ExpectReplayStopped(u"Video lost");
    EXPECT_EQ(engine->state, EngineState::Ready);
}

TEST_F(HealthPoll, AReplayWhoseVideoDiedSavesItsRecordingFirst) {
    StartRecordingFromReplay();
    fake::FailVideo(*engine->replay.video, u"Video lost");
    engine->PollHealth();
    ExpectReplayStopped(u"Video lost");
    EXPECT_EQ(engine->state, EngineState::Ready);
    EXPECT_TRUE(Exists(output));
    EXPECT_FALSE(Exists(working));
    EXPECT_FALSE(engine->recording.process);
}

TEST_F(HealthPoll, ARecordingWhoseSoundDiedFails) {
    StartOwnRecording();
    fake::FailAudio(*engine->recording.audio, u"Sound lost");
    engine->PollHealth();
    ExpectRecordingFailed(u"Sound lost");
}

TEST_F(HealthPoll, ARecordingWhoseSoundDiedWithoutASentenceGetsOne) {
    StartOwnRecording();
    fake::FailAudio(*engine->recording.audio, u"");
    engine->PollHealth();
    ExpectRecordingFailed(u"Recording audio stopped unexpectedly.");
}

TEST_F(HealthPoll, AReplayWhoseSoundDiedStops) {
    StartReplayWith(3);
    fake::FailAudio(*engine->replay.audio, u"Sound lost");
    engine->PollHealth();
    ExpectReplayStopped(u"Sound lost");
}

TEST_F(HealthPoll, AReplayWhoseSoundDiedWithoutASentenceGetsOne) {
    StartReplayWith(3);
    fake::FailAudio(*engine->replay.audio, u"");
    engine->PollHealth();
    ExpectReplayStopped(u"Replay audio stopped unexpectedly.");
}

TEST_F(HealthPoll, AReplayWhoseSoundDiedDoesNotFinishTheRecording) {
    StartRecordingFromReplay();
    fake::FailAudio(*engine->replay.audio, u"Sound lost");
    engine->PollHealth();
    ExpectReplayStopped(u"Sound lost");
    EXPECT_EQ(engine->state, EngineState::Recording);
    EXPECT_TRUE(engine->recording.process);
}

TEST_F(HealthPoll, ARecordingWhoseChildDiedFails) {
    StartOwnRecording();
    fake::EndChild(fake::LastChild(), 0);
    engine->PollHealth();
    ExpectRecordingFailed(u"Recording encoder stopped unexpectedly. Logs: " + engine->cacheDir);
    EXPECT_EQ(fake::LastChild().input, "");
}

TEST_F(HealthPoll, AReplayWhoseChildDiedStops) {
    StartReplayWith(3);
    fake::EndChild(ChildNumber(0), 1);
    engine->PollHealth();
    ExpectReplayStopped(u"Replay encoder stopped unexpectedly. Logs: " + engine->cacheDir);
}

TEST_F(HealthPoll, AReplayWhoseChildDiedDoesNotFinishTheRecording) {
    StartRecordingFromReplay();
    fake::EndChild(ChildNumber(0), 1);
    engine->PollHealth();
    ExpectReplayStopped(u"Replay encoder stopped unexpectedly. Logs: " + engine->cacheDir);
    EXPECT_EQ(engine->state, EngineState::Recording);
    EXPECT_TRUE(engine->recording.relay);
    EXPECT_TRUE(ChildNumber(1).running);
}

TEST_F(HealthPoll, AChildThatDiedWithItsVideoIsReportedByTheVideo) {
    StartReplayWith(3);
    fake::FailVideo(*engine->replay.video, u"Video lost");
    fake::FailAudio(*engine->replay.audio, u"Sound lost");
    fake::EndChild(ChildNumber(0), 1);
    engine->PollHealth();
    ExpectReplayStopped(u"Video lost");
}

TEST_F(HealthPoll, ALaterCheckStillRunsAfterAnEarlierOneFired) {
    StartRecordingFromReplay();
    fake::EndChild(ChildNumber(0), 1);
    fake::EndChild(ChildNumber(1), 1);
    engine->PollHealth();
    EXPECT_EQ(engine->state, EngineState::Failed);
    EXPECT_FALSE(engine->replayRunning);
    EXPECT_EQ(engine->statusText, u"Replay encoder stopped unexpectedly. Logs: " + engine->cacheDir);
}

TEST_F(HealthPoll, NothingIsRestarted) {
    StartReplayWith(3);
    fake::EndChild(ChildNumber(0), 1);
    for (int poll = 0; poll < 5; ++poll) {
        engine->PollHealth();
    }
    EXPECT_EQ(ChildCount(), 1U);
    EXPECT_THAT(fake::TheVideo().alive, IsEmpty());
}

class FrameRateSample : public HealthPoll {};

TEST_F(FrameRateSample, TheFirstPollAfterAStartOnlyTakesASample) {
    StartReplayWith(1);
    fake::TheClock().nowNs = 50'000'000'000;
    engine->replay.video->encodedFrames = 300;
    engine->PollHealth();
    EXPECT_EQ(engine->fpsSampleTick, 50000U);
    EXPECT_EQ(engine->fpsSampleFrames, 300U);
    EXPECT_EQ(engine->measuredFps, 0);
}

TEST_F(FrameRateSample, IsKeptForTwoSecondsAndThenMeasured) {
    StartReplayWith(1);
    fake::TheClock().nowNs = 50'000'000'000;
    engine->PollHealth();
    fake::AdvanceClockMs(1999);
    engine->replay.video->encodedFrames = 100;
    engine->PollHealth();
    EXPECT_EQ(engine->fpsSampleTick, 50000U);
    EXPECT_EQ(engine->measuredFps, 0);
    fake::AdvanceClockMs(1);
    engine->replay.video->encodedFrames = 119;
    engine->PollHealth();
    EXPECT_EQ(engine->measuredFps, 59);
    EXPECT_EQ(engine->fpsSampleTick, 52000U);
    EXPECT_EQ(engine->fpsSampleFrames, 119U);
}

TEST_F(FrameRateSample, ACountThatWentBackwardsStartsANewSample) {
    StartReplayWith(1);
    engine->replay.video->encodedFrames = 500;
    engine->PollHealth();
    fake::AdvanceClockMs(100);
    engine->replay.video->encodedFrames = 20;
    engine->PollHealth();
    EXPECT_EQ(engine->fpsSampleFrames, 20U);
    EXPECT_EQ(engine->measuredFps, 0);
}

TEST_F(FrameRateSample, ComesFromTheRecordingWithoutAReplay) {
    StartOwnRecording();
    engine->recording.video->encodedFrames = 70;
    engine->PollHealth();
    EXPECT_EQ(engine->fpsSampleFrames, 70U);
}

TEST_F(FrameRateSample, IsClearedWhenNothingCaptures) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    engine->fpsSampleTick = 1;
    engine->fpsSampleFrames = 2;
    engine->measuredFps = 3;
    engine->PollHealth();
    EXPECT_EQ(engine->fpsSampleTick, 0U);
    EXPECT_EQ(engine->fpsSampleFrames, 0U);
    EXPECT_EQ(engine->measuredFps, 0);
}

class MissingFrames : public HealthPoll {
protected:
    void Start() {
        StartReplayWith(1);
        engine->PollHealth();
    }
    /// Captures for this time at this rate, with two polls a second.
    void CaptureAt(int fps, int seconds) {
        for (int poll = 0; poll < 2 * seconds; ++poll) {
            fake::AdvanceClockMs(500);
            halfFrames_ += static_cast<std::uint64_t>(fps);
            engine->replay.video->encodedFrames = halfFrames_ / 2;
            engine->PollHealth();
        }
    }

private:
    std::uint64_t halfFrames_ = 0;
};

TEST_F(MissingFrames, OfASecondInAllAreNoticed) {
    Start();
    CaptureAt(55, 12);
    EXPECT_FALSE(engine->fallsBehind);
    CaptureAt(55, 2);
    EXPECT_TRUE(engine->fallsBehind);
    CaptureAt(60, 3600);
    EXPECT_TRUE(engine->fallsBehind) << "the sound stays late";
}

TEST_F(MissingFrames, OfLessThanASecondAreNotNoticed) {
    Start();
    CaptureAt(55, 12);
    CaptureAt(60, 3600);
    EXPECT_FALSE(engine->fallsBehind);
}

TEST_F(MissingFrames, AreNotCompensatedInAdvance) {
    Start();
    CaptureAt(70, 60);
    CaptureAt(55, 14);
    EXPECT_TRUE(engine->fallsBehind);
}

TEST_F(MissingFrames, AreNoneIfTheClocksDifferByAThousandth) {
    Start();
    for (int second = 0; second < 3600; ++second) {
        fake::AdvanceClockMs(1001);
        engine->replay.video->encodedFrames += 60;
        engine->PollHealth();
    }
    EXPECT_FALSE(engine->fallsBehind);
}

TEST_F(MissingFrames, BelongToOneCapture) {
    Start();
    CaptureAt(30, 10);
    EXPECT_TRUE(engine->fallsBehind);
    engine->replay.video->encodedFrames = 0;  // as after a new start
    engine->PollHealth();
    EXPECT_FALSE(engine->fallsBehind);
    EXPECT_EQ(engine->missingFrames, 0);
    engine->missingFrames = 5000;
    engine->fallsBehind = true;
    engine->StartReplay(false, 60);
    engine->PollHealth();
    EXPECT_FALSE(engine->fallsBehind);
    EXPECT_EQ(engine->missingFrames, 0);
}

class PollCaptureTest : public HealthPoll {};

TEST_F(PollCaptureTest, ReportsTheSecondsAndNoTextWhileNothingChanged) {
    StartReplayWith(4);
    const CapturePollResult result = PollCapture(*engine);
    EXPECT_EQ(result.bufferedSeconds, 4);
    EXPECT_FALSE(result.changed);
    EXPECT_EQ(result.status, u"");
}

TEST_F(PollCaptureTest, ReportsOnceThatTheReplayDied) {
    StartReplayWith(4);
    fake::EndChild(ChildNumber(0), 1);
    CapturePollResult result = PollCapture(*engine);
    EXPECT_EQ(result.bufferedSeconds, 0);
    EXPECT_TRUE(result.changed);
    EXPECT_EQ(result.status, u"Replay encoder stopped unexpectedly. Logs: " + engine->cacheDir);
    result = PollCapture(*engine);
    EXPECT_FALSE(result.changed);
    EXPECT_EQ(result.status, u"");
}

TEST_F(PollCaptureTest, ReportsThatTheStateChanged) {
    StartOwnRecording();
    fake::EndChild(fake::LastChild(), 1);
    const CapturePollResult result = PollCapture(*engine);
    EXPECT_TRUE(result.changed);
    EXPECT_EQ(result.status, u"Recording encoder stopped unexpectedly. Logs: " + engine->cacheDir);
}

/// The video is lost, and FFmpeg has ended at the end of its input.
class LostVideo : public PollCaptureTest {
protected:
    void LoseVideo() {
        fake::FailVideo(*engine->recording.video, u"Desktop capture was interrupted.");
        fake::EndChild(fake::LastChild(), 0);
    }
    void PollQuietly(int polls) {
        for (int poll = 0; poll < polls; ++poll) {
            const CapturePollResult result = PollCapture(*engine);
            EXPECT_FALSE(result.changed) << "poll " << poll;
            EXPECT_EQ(result.status, u"");
            EXPECT_EQ(engine->state, EngineState::Recording);
        }
    }
};

TEST_F(LostVideo, LeavesTheRecordingToTheJobOfALateDisplayMessage) {
    StartOwnRecording();
    LoseVideo();
    PollQuietly(6);
    engine->StopAll();  // what that job does first
    EXPECT_EQ(engine->statusText, u"Recording saved: " + output);
    EXPECT_EQ(engine->state, EngineState::Ready);
    EXPECT_TRUE(Exists(output));
    EXPECT_FALSE(Exists(working));
}

TEST_F(LostVideo, EndsTheRecordingAfterThreeSecondsWithoutADisplayMessage) {
    StartOwnRecording();
    LoseVideo();
    PollQuietly(6);
    const CapturePollResult result = PollCapture(*engine);
    EXPECT_TRUE(result.changed);
    EXPECT_EQ(result.status, u"Desktop capture was interrupted.");
    ExpectRecordingFailed(u"Desktop capture was interrupted.");
}

TEST_F(LostVideo, EndsARecordingAtOnceThatNoJobCanSave) {
    StartOwnRecording();
    fake::FailVideo(*engine->recording.video, u"Video muxer disconnected");
    fake::EndChild(fake::LastChild(), 1);
    EXPECT_EQ(PollCapture(*engine).status, u"Video muxer disconnected");
    ExpectRecordingFailed(u"Video muxer disconnected");
}

TEST_F(LostVideo, LeavesTheNextRecordingJustAsLong) {
    StartOwnRecording();
    LoseVideo();
    PollQuietly(3);
    engine->StopAll();
    output = Here(u"b.mp4");
    working = Here(u"b.mp4.partial.mp4");
    StartOwnRecording();
    LoseVideo();
    PollQuietly(6);
}

TEST_F(PollCaptureTest, AnyExceptionBecomesOneSentence) {
    StartReplayWith(4);
    fake::ThrowInCall("IsRunning", fake::CountOf("IsRunning") + 1);
    const CapturePollResult result = PollCapture(*engine);
    EXPECT_EQ(result.bufferedSeconds, 0);
    EXPECT_TRUE(result.changed);
    EXPECT_EQ(result.status, u"Capture check failed. Try restarting replay.");
}

}  // namespace
}  // namespace zv
