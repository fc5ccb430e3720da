#include "capture/EncoderProcess.h"

#include "EngineFixture.h"
#include "capture/CaptureFiles.h"
#include "capture/FfmpegCommandLine.h"
#include "core/CommandLine.h"
#include "core/FfmpegRuntime.h"

namespace zv {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct QuotedArgument {
    const char* name;
    const char16_t* text;
    const char16_t* quoted;
};

void PrintTo(const QuotedArgument& row, std::ostream* out) { *out << row.name; }

class QuotedArguments : public testing::TestWithParam<QuotedArgument> {};

TEST_P(QuotedArguments, SurviveTheCommandLine) { EXPECT_EQ(QuoteArgument(GetParam().text), GetParam().quoted); }

INSTANTIATE_TEST_SUITE_P(
    Texts, QuotedArguments,
    testing::Values(QuotedArgument{"Empty", u"", u"\"\""}, QuotedArgument{"Plain", u"plain", u"\"plain\""},
                    QuotedArgument{"WithABlank", u"C:\\My Clips\\a.mp4", u"\"C:\\My Clips\\a.mp4\""},
                    QuotedArgument{"WithATrailingBackslash", u"C:\\Clips\\", u"\"C:\\Clips\\\\\""},
                    QuotedArgument{"WithTwoTrailingBackslashes", u"C:\\Clips\\\\", u"\"C:\\Clips\\\\\\\\\""},
                    QuotedArgument{"WithQuotes", u"say \"hi\"", u"\"say \\\"hi\\\"\""},
                    QuotedArgument{"WithABackslashBeforeAQuote", u"a\\\"b", u"\"a\\\\\\\"b\""},
                    QuotedArgument{"WithTwoBackslashesBeforeAQuote", u"a\\\\\"b", u"\"a\\\\\\\\\\\"b\""},
                    QuotedArgument{"WithTwoBackslashes", u"a\\\\b", u"\"a\\\\b\""},
                    QuotedArgument{"OneBackslash", u"\\", u"\"\\\\\""},
                    QuotedArgument{"OneQuote", u"\"", u"\"\\\"\""}));

class FindFfmpegTest : public EngineTest {};

TEST_F(FindFfmpegTest, TheVariableComesFirst) {
    WriteFile(JoinPath(Here(u"program"), ffmpegFileName), "");
    fake::TheEnvironment().programs[ffmpegFileName] = Here(u"on the path");
    EXPECT_EQ(FindFfmpeg(), Here(u"the ffmpeg"));
}

TEST_F(FindFfmpegTest, AVariableWithoutAFileFallsBackToTheFolderOfTheProgram) {
    const Text beside = JoinPath(Here(u"program"), ffmpegFileName);
    WriteFile(beside, "");
    fake::TheEnvironment().programs[ffmpegFileName] = Here(u"on the path");
    for (const Text& value : {Here(u"program"), Here(u"missing"), Text(), Text(40000, u'x')}) {
        fake::TheEnvironment().variables[u"ZV_FFMPEG"] = value;
        EXPECT_EQ(FindFfmpeg(), beside);
    }
}

TEST_F(FindFfmpegTest, TheSearchPathComesLastAndIsNotTested) {
    fake::TheEnvironment().variables.clear();
    fake::TheEnvironment().programs[ffmpegFileName] = Here(u"not there");
    EXPECT_EQ(FindFfmpeg(), Here(u"not there"));
    std::filesystem::create_directory(ToPath(JoinPath(Here(u"program"), ffmpegFileName)));  // no file
    EXPECT_EQ(FindFfmpeg(), Here(u"not there"));
}

TEST_F(FindFfmpegTest, NothingFoundIsEmpty) {
    fake::TheEnvironment().variables.clear();
    EXPECT_EQ(FindFfmpeg(), u"");
}

class EncoderInputs : public EngineTest {
protected:
    void AddVideo() {
        process.video = std::make_unique<VideoCapture>();
        process.video->Start(u"", {});
    }
    void AddAudio() {
        process.audio = std::make_unique<AudioCapture>();
        process.audio->Start(true, false);
    }
    EncoderProcess process;
};

TEST_F(EncoderInputs, WithSoundHaveTwoInputs) {
    AddVideo();
    AddAudio();
    EXPECT_EQ(BuildEncoderInputs(process),
              u"-thread_queue_size 64 -f mpegts -probesize 65536 -analyzeduration 0 -i \"video pipe\" "
              u"-avioflags direct -blocksize 3840 -thread_queue_size 32 -f f32le -ar 48000 -ac 2 -probesize 32 "
              u"-analyzeduration 0 -i \"audio pipe\" "
              u"-map 0:v:0 -map 1:a:0 -af aresample=async=1000:first_pts=0 -c:a aac -b:a 192k -ar 48000 ");
}

TEST_F(EncoderInputs, WithoutSoundHaveOneInput) {
    AddVideo();
    EXPECT_EQ(BuildEncoderInputs(process),
              u"-thread_queue_size 64 -f mpegts -probesize 65536 -analyzeduration 0 -i \"video pipe\" "
              u"-map 0:v:0 -an ");
}

TEST_F(EncoderInputs, QuoteTheNamesOfTheirPipes) {
    fake::TheVideo().pipeName = u"\\\\.\\pipe\\ZVVideo-4711-1";
    AddVideo();
    EXPECT_THAT(Narrow(BuildEncoderInputs(process)), testing::HasSubstr("-i \"\\\\.\\pipe\\ZVVideo-4711-1\" "));
}

class CaptureFiles : public EngineTest {};

TEST_F(CaptureFiles, AreReadToTheFirstFullBlockAtTheCap) {
    WriteFile(Here(u"big"), std::string(0x100000 + 5000, 'x'));
    EXPECT_EQ(ReadFileCapped(Here(u"big")).size(), 0x100000U);
    WriteFile(Here(u"small"), std::string(5000, 'x'));
    EXPECT_EQ(ReadFileCapped(Here(u"small")).size(), 5000U);
    EXPECT_EQ(ReadFileCapped(Here(u"missing")), "");
}

TEST_F(CaptureFiles, HoldMediaFrom1025Bytes) {
    WriteFile(Here(u"a"), std::string(1024, 'x'));
    EXPECT_FALSE(HasMediaData(Here(u"a")));
    WriteFile(Here(u"a"), std::string(1025, 'x'));
    EXPECT_TRUE(HasMediaData(Here(u"a")));
    EXPECT_FALSE(HasMediaData(Here(u"missing")));
    EXPECT_FALSE(HasMediaData(Here(u"program")));
}

TEST_F(CaptureFiles, HaveAWorkingNameWhileTheyAreWritten) {
    EXPECT_EQ(WorkingName(u"ZV_Replay.mp4"), u"ZV_Replay.mp4.partial.mp4");
}

class ChildControl : public EngineTest {
protected:
    ChildControl() { engine->ffmpegPath = u"C:\\Program Files\\ffmpeg.exe"; }
    ~ChildControl() override { ResetProcess(process); }
    bool Start() { return engine->StartChild(process, u"-i \"x\" \"y\"", Here(u"a.log")); }
    void AddFeeders() {
        process.video = std::make_unique<VideoCapture>();
        process.video->Start(u"", {});
        process.audio = std::make_unique<AudioCapture>();
        process.audio->Start(true, false);
    }
    void AddRelay() {
        process.relay = std::make_unique<SegmentRelay>();
        process.relay->Start(u"");
    }
    bool IsEmpty() const {
        return !process.process && !process.stdinWrite && !process.job && !process.audio && !process.video &&
               !process.relay;
    }
    static bool HoldsNothing(const fake::ScriptedChild& child) {
        return !child.processHeld && !child.inputHeld && !child.jobHeld;
    }
    EncoderProcess process;
};

TEST_F(ChildControl, EveryCommandLineBeginsWithTheCommonPart) {
    ASSERT_TRUE(Start());
    const ChildOptions& options = fake::LastChild().options;
    EXPECT_EQ(options.executable, u"C:\\Program Files\\ffmpeg.exe");
    EXPECT_EQ(options.commandLine,
              u"\"C:\\Program Files\\ffmpeg.exe\" -hide_banner -loglevel warning -y -i \"x\" \"y\"");
    EXPECT_EQ(options.logPath, Here(u"a.log"));
    EXPECT_TRUE(process.process && process.stdinWrite && process.job);
    EXPECT_TRUE(IsChildRunning(process));
    EXPECT_EQ(engine->statusText, u"");
}

TEST_F(ChildControl, WithoutFfmpegNothingStarts) {
    engine->ffmpegPath.clear();
    AddFeeders();
    EXPECT_FALSE(Start());
    EXPECT_EQ(engine->statusText, u"FFmpeg missing. Run BUILD-ZV-REELS-MAX.bat.");
    EXPECT_TRUE(IsEmpty());
    EXPECT_EQ(ChildCount(), 0U);
}

TEST_F(ChildControl, AFailedStartLeavesNoHandleAndNoFeederAndNoText) {
    fake::FailCall("SpawnChild", 1, 0);
    AddFeeders();
    AddRelay();
    EXPECT_FALSE(Start());
    EXPECT_TRUE(IsEmpty());
    EXPECT_THAT(fake::TheVideo().alive, testing::IsEmpty());
    EXPECT_THAT(fake::TheAudio().alive, testing::IsEmpty());
    EXPECT_THAT(fake::TheRelays().alive, testing::IsEmpty());
    EXPECT_EQ(engine->statusText, u"");
}

TEST_F(ChildControl, AStopQuitsTheChildAndReleasesEverything) {
    AddFeeders();
    ASSERT_TRUE(Start());
    EXPECT_TRUE(engine->StopChild(process, 30000));
    EXPECT_EQ(fake::LastChild().input, "q\n");
    EXPECT_FALSE(fake::LastChild().terminated);
    EXPECT_TRUE(HoldsNothing(fake::LastChild()));
    EXPECT_TRUE(IsEmpty());
}

TEST_F(ChildControl, TheFeedersStopOnlyAfterTheChildHasEndedSoundFirst) {
    AddFeeders();
    ASSERT_TRUE(Start());
    engine->StopChild(process, 30000);
    EXPECT_THAT(CallsAmong({"WriteInput", "WaitForExit", "AudioCapture::Stop", "VideoCapture::Stop", "~AudioCapture",
                            "~VideoCapture", "~Process"}),
                ElementsAre("WriteInput", "WaitForExit", "AudioCapture::Stop", "VideoCapture::Stop", "~Process",
                            "~AudioCapture", "~VideoCapture"));
}

TEST_F(ChildControl, ARelayIsStoppedBeforeAnythingElse) {
    AddRelay();
    ASSERT_TRUE(Start());
    fake::TheRelays().onStop = [] { fake::EndChild(fake::LastChild(), 0); };
    EXPECT_TRUE(engine->StopChild(process, 30000));
    EXPECT_THAT(CallsAmong({"SegmentRelay::Stop", "WaitForExit", "~Process", "~SegmentRelay"}),
                ElementsAre("SegmentRelay::Stop", "WaitForExit", "~Process", "~SegmentRelay"));
}

TEST_F(ChildControl, AChildWithARelayGetsNoQuitCommand) {
    AddRelay();
    ASSERT_TRUE(Start());
    EXPECT_FALSE(engine->StopChild(process, 700));
    EXPECT_EQ(fake::LastChild().input, "");
    EXPECT_THAT(fake::LastChild().waits, ElementsAre(700U));
    EXPECT_TRUE(fake::LastChild().terminated);
}

TEST_F(ChildControl, AChildThatIgnoresTheQuitCommandIsKilled) {
    ASSERT_TRUE(Start());
    fake::LastChild().exitsOnQuit = false;
    EXPECT_FALSE(engine->StopChild(process, 30000));
    EXPECT_EQ(fake::LastChild().input, "q\n");
    EXPECT_THAT(fake::LastChild().waits, ElementsAre(30000U));
    EXPECT_TRUE(fake::LastChild().terminated);
    EXPECT_TRUE(IsEmpty());
}

TEST_F(ChildControl, AKilledChildCountsAsFailedWithEveryExitCode) {
    ASSERT_TRUE(Start());
    fake::LastChild().exitsOnQuit = false;
    fake::LastChild().diesOfTerminate = false;
    fake::TheChildren().onWait = [](fake::ScriptedChild& child, std::uint32_t timeoutMs) {
        if (timeoutMs == 5000) {
            fake::EndChild(child, 0);
        }
    };
    EXPECT_FALSE(engine->StopChild(process, 30000));
    EXPECT_THAT(fake::LastChild().waits, ElementsAre(30000U, 5000U));
}

TEST_F(ChildControl, AChildThatFailedByItselfGetsNoQuitCommandAndCountsAsFailed) {
    ASSERT_TRUE(Start());
    fake::EndChild(fake::LastChild(), 1);
    EXPECT_FALSE(engine->StopChild(process, 30000));
    EXPECT_EQ(fake::LastChild().input, "");
    EXPECT_FALSE(fake::LastChild().terminated);
    EXPECT_TRUE(IsEmpty());
}

TEST_F(ChildControl, AnExitCodeOtherThanZeroAfterTheQuitCommandCountsAsFailed) {
    ASSERT_TRUE(Start());
    fake::LastChild().quitCode = 255;
    EXPECT_FALSE(engine->StopChild(process, 30000));
}

TEST_F(ChildControl, AChildThatEndsWithinTheLimitSucceeds) {
    ASSERT_TRUE(Start());
    fake::LastChild().exitsOnQuit = false;
    fake::TheChildren().onWait = [](fake::ScriptedChild& child, std::uint32_t) { fake::EndChild(child, 0); };
    EXPECT_TRUE(engine->StopChild(process, 30000));
}

TEST_F(ChildControl, AStopWithoutAChildStillEndsTheFeedersAndKeepsTheRelay) {
    AddFeeders();
    AddRelay();
    EXPECT_FALSE(engine->StopChild(process, 30000));
    EXPECT_THAT(CallsAmong({"SegmentRelay::Stop", "AudioCapture::Stop", "VideoCapture::Stop", "~SegmentRelay"}),
                ElementsAre("SegmentRelay::Stop", "AudioCapture::Stop", "VideoCapture::Stop"));
    EXPECT_FALSE(process.audio);
    EXPECT_FALSE(process.video);
    EXPECT_TRUE(process.relay);
}

}  // namespace
}  // namespace zv
