#include "EngineFixture.h"

namespace zv {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class EncoderStart : public EngineTest {
protected:
    void Configure(std::int32_t width, std::int32_t height, std::int32_t fps) {
        CaptureConfig config = PlainConfig();
        config.width = width;
        config.height = height;
        config.fps = fps;
        ASSERT_TRUE(engine->Configure(config));
    }
    bool Start() { return engine->StartEncoder(engine->replay, u"-f null \"out\"", Log()); }
    Text Log() const { return InCache(u"some.log"); }
    bool EverythingIsReleased() const {
        return !engine->replay.process && fake::TheVideo().alive.empty() && fake::TheAudio().alive.empty();
    }
    static VideoCapture& Video() { return *fake::TheVideo().alive.at(0); }
    static AudioCapture& Audio() { return *fake::TheAudio().alive.at(0); }

    /// The progress file has `text` only from the given wait on.
    void ProgressAfter(int waits, const std::string& text) {
        fake::TheChildren().onSpawn = nullptr;
        fake::TheChildren().onWait = [waits, text](fake::ScriptedChild& child, std::uint32_t timeoutMs) {
            fake::AdvanceClockMs(timeoutMs);
            if (child.waits.size() == static_cast<std::size_t>(waits)) {
                WriteProgress(child, text);
            }
        };
    }
    /// The video has `first` frames a second in the first measurement and `second` in the next one.
    void SetVideoRates(std::uint64_t first, std::uint64_t second) {
        fake::TheChildren().onWait = [first, second](fake::ScriptedChild& child, std::uint32_t timeoutMs) {
            fake::AdvanceClockMs(timeoutMs);
            const std::uint64_t rate = child.waits.size() <= 20 ? first : second;
            // Each wait is a tenth of a second; the rates of these tests need tenths of a frame.
            tenths += rate;
            Video().encodedFrames = tenths / 10;
        };
        tenths = 0;
    }
    static inline std::uint64_t tenths = 0;
    static constexpr const char16_t* tooSlow = u" FPS. Paused: choose Game friendly (60 FPS) in Settings > Capture.";
};

TEST_F(EncoderStart, StartsVideoThenSoundThenFfmpeg) {
    Configure(2560, 1440, 60);
    EXPECT_TRUE(Start());
    EXPECT_THAT(CallsAmong({"VideoCapture::Start", "AudioCapture::Start", "SpawnChild"}),
                ElementsAre("VideoCapture::Start", "AudioCapture::Start", "SpawnChild"));
    ASSERT_THAT(fake::TheVideo().starts, SizeIs(1));
    const fake::VideoStart& video = fake::TheVideo().starts[0];
    EXPECT_EQ(video.monitorDevice, u"\\\\.\\DISPLAY2");
    EXPECT_EQ(video.format.width, 2560U);
    EXPECT_EQ(video.format.height, 1440U);
    EXPECT_EQ(video.format.fps, 60U);
    EXPECT_EQ(video.format.bitrateMbps, 20U);
    ASSERT_THAT(fake::TheAudio().starts, SizeIs(1));
    EXPECT_TRUE(fake::TheAudio().starts[0].gameAudio);
    EXPECT_FALSE(fake::TheAudio().starts[0].microphone);
}

TEST_F(EncoderStart, TheArgumentsAreProgressInputsCopyAndOutput) {
    Configure(1920, 1080, 60);
    ASSERT_TRUE(Start());
    EXPECT_EQ(fake::LastChild().options.commandLine,
              Quoted(Here(u"the ffmpeg")) + u" -hide_banner -loglevel warning -y -progress " +
                  Quoted(Log() + u".progress") +
                  u" -stats_period 0.5 -thread_queue_size 64 -f mpegts -probesize 65536 -analyzeduration 0 "
                  u"-i \"video pipe\" -avioflags direct -blocksize 3840 -thread_queue_size 32 -f f32le -ar 48000 "
                  u"-ac 2 -probesize 32 -analyzeduration 0 -i \"audio pipe\" -map 0:v:0 -map 1:a:0 "
                  u"-af aresample=async=1000:first_pts=0 -c:a aac -b:a 192k -ar 48000 -c:v copy -f null \"out\"");
    EXPECT_EQ(fake::LastChild().options.logPath, Log());
}

TEST_F(EncoderStart, EitherSourceOfSoundMakesAnAudioWorker) {
    struct Flags {
        bool gameAudio;
        bool microphone;
        std::size_t workers;
    };
    for (const Flags flags :
         {Flags{true, true, 1}, Flags{false, true, 1}, Flags{true, false, 1}, Flags{false, false, 0}}) {
        CaptureConfig config = PlainConfig();
        config.gameAudioEnabled = flags.gameAudio;
        config.micEnabled = flags.microphone;
        ASSERT_TRUE(engine->Configure(config));
        fake::TheAudio().starts.clear();
        ASSERT_TRUE(Start());
        ASSERT_THAT(fake::TheAudio().starts, SizeIs(flags.workers));
        if (flags.workers == 1) {
            EXPECT_EQ(fake::TheAudio().starts[0].gameAudio, flags.gameAudio);
            EXPECT_EQ(fake::TheAudio().starts[0].microphone, flags.microphone);
        }
        engine->StopChild(engine->replay, 1);
    }
}

TEST_F(EncoderStart, AnEarlierWorkerIsReplaced) {
    Configure(1920, 1080, 60);
    engine->replay.video = std::make_unique<VideoCapture>();
    engine->replay.audio = std::make_unique<AudioCapture>();
    ASSERT_TRUE(Start());
    EXPECT_THAT(fake::TheVideo().alive, SizeIs(1));
    EXPECT_THAT(fake::TheAudio().alive, SizeIs(1));
}

TEST_F(EncoderStart, WithoutFfmpegItReportsThat) {
    Configure(1920, 1080, 60);
    engine->ffmpegPath.clear();
    EXPECT_FALSE(Start());
    EXPECT_EQ(engine->statusText, u"FFmpeg is missing. Run the launcher.");
    EXPECT_THAT(fake::TheVideo().starts, IsEmpty());
}

TEST_F(EncoderStart, AFailedVideoStartReportsItsSentence) {
    Configure(1920, 1080, 60);
    fake::FailCall("VideoCapture::Start", 1, 0);
    EXPECT_FALSE(Start());
    EXPECT_EQ(engine->statusText, u"Video could not start.");
    EXPECT_TRUE(EverythingIsReleased());
    EXPECT_THAT(fake::TheAudio().starts, IsEmpty());
    EXPECT_EQ(ChildCount(), 0U);
}

TEST_F(EncoderStart, AFailedSoundStartReportsItsSentenceAndEndsTheVideo) {
    Configure(1920, 1080, 60);
    fake::FailCall("AudioCapture::Start", 1, 0);
    EXPECT_FALSE(Start());
    EXPECT_EQ(engine->statusText, u"Audio could not start.");
    EXPECT_TRUE(EverythingIsReleased());
    EXPECT_EQ(ChildCount(), 0U);
}

TEST_F(EncoderStart, AnFfmpegThatCannotBeStartedNamesTheLog) {
    Configure(1920, 1080, 60);
    fake::FailCall("SpawnChild", 1, 0);
    EXPECT_FALSE(Start());
    EXPECT_EQ(engine->statusText, u"Cannot start NVENC encoder. See " + Log());
    EXPECT_TRUE(EverythingIsReleased());
}

TEST_F(EncoderStart, StaleProgressIsDeletedBeforeTheChildStarts) {
    Configure(1920, 1080, 60);
    WriteFile(Log() + u".progress", "frame=5000\n");
    bool stale = true;
    fake::TheChildren().onSpawn = [&stale](fake::ScriptedChild& child) {
        stale = Exists(child.options.logPath + u".progress");
    };
    EXPECT_FALSE(Start());
    EXPECT_FALSE(stale);
}

TEST_F(EncoderStart, FramesEndTheWaitAtOnce) {
    Configure(1920, 1080, 60);
    ASSERT_TRUE(Start());
    EXPECT_THAT(fake::LastChild().waits, IsEmpty());
}

TEST_F(EncoderStart, WaitsInStepsUntilTheThresholdIsReached) {
    Configure(1920, 1080, 60);
    fake::TheChildren().onSpawn = [](fake::ScriptedChild& child) { WriteProgress(child, "frame=14\n"); };
    fake::TheChildren().onWait = [](fake::ScriptedChild& child, std::uint32_t) {
        if (child.waits.size() == 3) {
            WriteProgress(child, "frame=14\nprogress=continue\nframe=15\nprogress=continue\n");
        }
    };
    EXPECT_TRUE(Start());
    EXPECT_THAT(fake::LastChild().waits, ElementsAre(250U, 250U, 250U));
}

TEST_F(EncoderStart, AMissingProgressFileKeepsWaiting) {
    Configure(1920, 1080, 60);
    ProgressAfter(5, "frame=15\n");
    EXPECT_TRUE(Start());
    EXPECT_THAT(fake::LastChild().waits, SizeIs(5));
}

TEST_F(EncoderStart, TheLastOfSixtyPassesStillCounts) {
    Configure(1920, 1080, 60);
    ProgressAfter(59, "frame=15\n");
    EXPECT_TRUE(Start());
}

TEST_F(EncoderStart, NoFramesInFifteenSecondsIsAFailure) {
    Configure(1920, 1080, 60);
    ProgressAfter(60, "frame=15\n");  // one pass too late
    EXPECT_FALSE(Start());
    EXPECT_EQ(engine->statusText, u"GPU recording could not start. No slow GDI fallback was used. Details: " + Log());
    EXPECT_THAT(fake::LastChild().waits, testing::AllOf(SizeIs(60), Each(250U)));
    EXPECT_EQ(fake::LastChild().input, "q\n");
    EXPECT_TRUE(EverythingIsReleased());
}

TEST_F(EncoderStart, AnFfmpegThatExitsBeforeFramesIsTheSameFailureAtOnce) {
    Configure(1920, 1080, 60);
    fake::TheChildren().onSpawn = nullptr;
    fake::TheChildren().onWait = [](fake::ScriptedChild& child, std::uint32_t) { fake::EndChild(child, 1); };
    EXPECT_FALSE(Start());
    EXPECT_EQ(engine->statusText, u"GPU recording could not start. No slow GDI fallback was used. Details: " + Log());
    EXPECT_THAT(fake::LastChild().waits, SizeIs(1));
    EXPECT_TRUE(EverythingIsReleased());
}

TEST_F(EncoderStart, VideoThatDiesDuringTheWaitReportsItsSentence) {
    Configure(1920, 1080, 60);
    fake::TheChildren().onSpawn = nullptr;
    fake::TheChildren().onWait = [](fake::ScriptedChild&, std::uint32_t) {
        fake::FailVideo(Video(), u"Desktop capture lost (0x887A0026)");
        fake::FailAudio(Audio(), u"Sound lost");
    };
    EXPECT_FALSE(Start());
    EXPECT_EQ(engine->statusText, u"Desktop capture lost (0x887A0026)");
    EXPECT_TRUE(EverythingIsReleased());
    EXPECT_FALSE(ChildNumber(0).processHeld);
}

TEST_F(EncoderStart, SoundThatDiesDuringTheWaitReportsItsSentence) {
    Configure(1920, 1080, 60);
    fake::TheChildren().onSpawn = nullptr;
    fake::TheChildren().onWait = [](fake::ScriptedChild&, std::uint32_t) { fake::FailAudio(Audio(), u"Sound lost"); };
    EXPECT_FALSE(Start());
    EXPECT_EQ(engine->statusText, u"Sound lost");
    EXPECT_TRUE(EverythingIsReleased());
}

TEST_F(EncoderStart, EasyModesAreNotMeasured) {
    Configure(1920, 1080, 60);
    engine->fpsSampleTick = 5;
    engine->measuredFps = 7;
    EXPECT_TRUE(Start());
    EXPECT_FALSE(Exists(InCache(u"performance.log")));
    EXPECT_EQ(engine->fpsSampleTick, 0U);
    EXPECT_EQ(engine->measuredFps, 0);
}

TEST_F(EncoderStart, AFastModeIsMeasuredForTwoSeconds) {
    Configure(1920, 1080, 120);
    SetVideoRates(120, 0);
    EXPECT_TRUE(Start());
    EXPECT_THAT(fake::LastChild().waits, testing::AllOf(SizeIs(20), Each(100U)));
    EXPECT_EQ(ReadWhole(InCache(u"performance.log")),
              "1920x1080 target=120 measured=120 GPU encode/transport us=0 pipe wait us=0\n");
    EXPECT_EQ(engine->measuredFps, 0);
}

TEST_F(EncoderStart, FourKIsMeasuredAtAnyRate) {
    Configure(3840, 2160, 30);
    SetVideoRates(27, 0);
    EXPECT_TRUE(Start());
    EXPECT_EQ(ReadWhole(InCache(u"performance.log")),
              "3840x2160 target=30 measured=27 GPU encode/transport us=0 pipe wait us=0\n");
}

TEST_F(EncoderStart, ExactlyNinetyPercentPassesAtOnce) {
    Configure(1920, 1080, 120);
    SetVideoRates(108, 0);
    EXPECT_TRUE(Start());
    EXPECT_THAT(fake::LastChild().waits, SizeIs(20));
}

TEST_F(EncoderStart, ASecondMeasurementOfFiveSecondsCanStillPass) {
    Configure(1920, 1080, 120);
    SetVideoRates(107, 119);
    EXPECT_TRUE(Start());
    EXPECT_THAT(fake::LastChild().waits, SizeIs(20 + 50));
    EXPECT_EQ(ReadWhole(InCache(u"performance.log")),
              "1920x1080 target=120 measured=107 GPU encode/transport us=0 pipe wait us=0\n"
              "1920x1080 target=120 measured=119 GPU encode/transport us=0 pipe wait us=0\n");
    EXPECT_EQ(engine->measuredFps, 0);
}

TEST_F(EncoderStart, TwoSlowMeasurementsStopEverything) {
    Configure(1920, 1080, 120);
    SetVideoRates(90, 107);
    EXPECT_FALSE(Start());
    EXPECT_EQ(engine->statusText, u"Speed check: 107 / 120" + Text(tooSlow));
    EXPECT_EQ(engine->measuredFps, 107);
    EXPECT_TRUE(EverythingIsReleased());
    EXPECT_EQ(fake::LastChild().input, "q\n");
}

TEST_F(EncoderStart, MeasurementsAreAppendedToTheLog) {
    Configure(1920, 1080, 120);
    WriteFile(InCache(u"performance.log"), "before\n");
    SetVideoRates(120, 0);
    ASSERT_TRUE(Start());
    EXPECT_EQ(ReadWhole(InCache(u"performance.log")),
              "before\n1920x1080 target=120 measured=120 GPU encode/transport us=0 pipe wait us=0\n");
}

class SpeedCheckDeath : public EncoderStart {
protected:
    /// Runs `die` in the 15th wait of the measurement.
    void DieDuringMeasurement(const std::function<void(fake::ScriptedChild&)>& die) {
        Configure(1920, 1080, 120);
        fake::TheChildren().onWait = [die](fake::ScriptedChild& child, std::uint32_t timeoutMs) {
            fake::AdvanceClockMs(timeoutMs);
            Video().encodedFrames += 12;
            if (child.waits.size() == 15) {
                die(child);
            }
        };
    }
};

TEST_F(SpeedCheckDeath, OfVideoReportsItsSentence) {
    DieDuringMeasurement([](fake::ScriptedChild&) {
        fake::FailVideo(Video(), u"Video lost");
        fake::FailAudio(Audio(), u"Sound lost");
    });
    EXPECT_FALSE(Start());
    EXPECT_EQ(engine->statusText, u"Capture stopped during speed check: Video lost");
    EXPECT_THAT(ChildNumber(0).waits, SizeIs(15));
    EXPECT_TRUE(EverythingIsReleased());
    EXPECT_EQ(ReadWhole(InCache(u"performance.log")),
              "1920x1080 target=120 measured=120 GPU encode/transport us=0 pipe wait us=0\n");
}

TEST_F(SpeedCheckDeath, OfSoundReportsItsSentence) {
    DieDuringMeasurement([](fake::ScriptedChild&) { fake::FailAudio(Audio(), u"Sound lost"); });
    EXPECT_FALSE(Start());
    EXPECT_EQ(engine->statusText, u"Capture stopped during speed check: Sound lost");
    EXPECT_TRUE(EverythingIsReleased());
}

TEST_F(SpeedCheckDeath, OfTheChildNamesTheLog) {
    DieDuringMeasurement([](fake::ScriptedChild& child) { fake::EndChild(child, 1); });
    EXPECT_FALSE(Start());
    EXPECT_EQ(engine->statusText, u"Capture stopped during speed check: Encoder exited. See " + Log());
    EXPECT_TRUE(EverythingIsReleased());
    EXPECT_EQ(engine->measuredFps, 0);
}

TEST_F(SpeedCheckDeath, WithASlowRateIsNotMeasuredAgain) {
    DieDuringMeasurement([](fake::ScriptedChild& child) {
        Video().encodedFrames = 1;
        fake::EndChild(child, 1);
    });
    EXPECT_FALSE(Start());
    EXPECT_EQ(engine->statusText, u"Capture stopped during speed check: Encoder exited. See " + Log());
    EXPECT_THAT(ChildNumber(0).waits, SizeIs(15));
    EXPECT_EQ(ReadWhole(InCache(u"performance.log")),
              "1920x1080 target=120 measured=0 GPU encode/transport us=0 pipe wait us=0\n");
}

}  // namespace
}  // namespace zv
