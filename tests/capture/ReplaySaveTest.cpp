#include "EngineFixture.h"

namespace zv {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ReplaySave : public EngineTest {
protected:
    /// What the joining child does: writes `bytes` bytes of output and ends with `exitCode`.
    void ScriptJoin(std::size_t bytes, std::uint32_t exitCode) {
        fake::TheChildren().onSpawn = [this, bytes, exitCode](fake::ScriptedChild& child) {
            saveFolder = FromPath(ToPath(FirstInput(child.options.commandLine)).parent_path());
            concat = ReadWhole(FirstInput(child.options.commandLine));
            concatAsText = ReadWhole(FirstInput(child.options.commandLine), std::ios::in);
            entries = EntriesOf(saveFolder);
            WriteFile(LastArgument(child.options.commandLine), std::string(bytes, 'x'));
            fake::EndChild(child, exitCode);
        };
    }
    static Text FirstInput(const Text& commandLine) {
        const std::size_t begin = commandLine.find(u"-i \"") + 4;
        return commandLine.substr(begin, commandLine.find(u'"', begin) - begin);
    }
    Text FailureText() const { return u"Replay save failed. Try again; details: " + InCache(u"save-replay.log"); }
    void ExpectNothingLeft() {
        EXPECT_FALSE(Exists(output));
        EXPECT_FALSE(Exists(output + u".partial.mp4"));
        for (const Text& name : EntriesOf(engine->cacheDir)) {
            EXPECT_FALSE(name.starts_with(u"save-") && !name.ends_with(u".log")) << Narrow(name);
        }
    }

    Text output = Here(u"clip.mp4");
    Text saveFolder;
    std::string concat;        // as bytes
    std::string concatAsText;  // with the platform's line ends read as one line feed
    std::vector<Text> entries;
};

TEST_F(ReplaySave, JoinsEveryListedSegmentFromTheOldestToTheNewest) {
    StartReplayWith(3);
    ScriptJoin(1025, 0);
    EXPECT_TRUE(engine->SaveReplayClip(output));
    EXPECT_EQ(engine->statusText, u"Replay saved: " + output);
    EXPECT_EQ(concatAsText,
              "ffconcat version 1.0\nfile 'seg00000000.ts'\nfile 'seg00000001.ts'\nfile 'seg00000002.ts'\n");
    EXPECT_THAT(entries, ElementsAre(u"input.ffconcat", u"seg00000000.ts", u"seg00000001.ts", u"seg00000002.ts"));
    EXPECT_TRUE(Exists(output));
}

TEST_F(ReplaySave, TheListHasThePlatformsLineEnds) {
    StartReplayWith(1);
    ScriptJoin(1025, 0);
    ASSERT_TRUE(engine->SaveReplayClip(output));
    const std::string end = pathSeparator == u'/' ? "\n" : "\r\n";
    EXPECT_EQ(concat, "ffconcat version 1.0" + end + "file 'seg00000000.ts'" + end);
}

TEST_F(ReplaySave, RunsFfmpegWithItsExactCommandLine) {
    StartReplayWith(1);
    ScriptJoin(1025, 0);
    fake::TheClock().nowNs = 88'000'000'000;
    ASSERT_TRUE(engine->SaveReplayClip(output));
    EXPECT_EQ(saveFolder, InCache(u"save-88000"));
    EXPECT_EQ(fake::LastChild().options.commandLine,
              Quoted(Here(u"the ffmpeg")) + u" -hide_banner -loglevel warning -y -f concat -safe 1 -i " +
                  Quoted(JoinPath(saveFolder, u"input.ffconcat")) +
                  u" -map 0:v:0 -map 0:a? -c copy -bsf:a aac_adtstoasc -movflags +faststart " +
                  Quoted(output + u".partial.mp4"));
    EXPECT_EQ(fake::LastChild().options.logPath, InCache(u"save-replay.log"));
}

TEST_F(ReplaySave, TheReplayKeepsRunning) {
    StartReplayWith(3);
    ScriptJoin(1025, 0);
    ASSERT_TRUE(engine->SaveReplayClip(output));
    EXPECT_TRUE(engine->replayRunning);
    EXPECT_EQ(ChildNumber(0).input, "");
    EXPECT_TRUE(ChildNumber(0).running);
    EXPECT_EQ(engine->state, EngineState::Ready);
    EXPECT_EQ(EntriesOf(engine->replayDir).size(), 4U);
    EXPECT_FALSE(Exists(saveFolder));
    EXPECT_FALSE(Exists(output + u".partial.mp4"));
}

TEST_F(ReplaySave, CopiesAreByteForByte) {
    StartReplayWith(0);
    std::string content;
    for (int value = 0; value < 70000; ++value) {
        content.push_back(static_cast<char>(value * 7 + value / 256));
    }
    content += "\r\n\n\x1A\r after the end";
    WriteFile(JoinPath(engine->replayDir, u"seg00000000.ts"), content);
    WriteFile(PlaylistPath(engine->replayDir), "#EXTINF:1,\nseg00000000.ts\n");
    std::string copied;
    fake::TheChildren().onSpawn = [&copied](fake::ScriptedChild& child) {
        const auto folder = ToPath(FirstInput(child.options.commandLine)).parent_path();
        copied = ReadWhole(FromPath(folder / "seg00000000.ts"));
    };
    engine->SaveReplayClip(output);
    EXPECT_EQ(copied, content);
}

TEST_F(ReplaySave, TheFolderOfTheOutputIsMadeWithItsParents) {
    StartReplayWith(1);
    ScriptJoin(1025, 0);
    output = JoinPath(JoinPath(Here(u"Zorvel"), u"Some Game"), u"clip.mp4");
    EXPECT_TRUE(engine->SaveReplayClip(output));
    EXPECT_TRUE(Exists(output));
}

TEST_F(ReplaySave, IsRefusedWithoutARunningChild) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    EXPECT_FALSE(engine->SaveReplayClip(output));
    EXPECT_EQ(engine->statusText, u"Replay is not running. Enable Instant Replay first.");
}

TEST_F(ReplaySave, ADeadChildIsDetected) {
    StartReplayWith(3);
    fake::EndChild(ChildNumber(0), 1);
    EXPECT_FALSE(engine->SaveReplayClip(output));
    EXPECT_EQ(engine->statusText, u"Replay is not running. Enable Instant Replay first.");
    EXPECT_FALSE(engine->replayRunning);
    EXPECT_TRUE(engine->replay.process);  // the poll clears it
}

TEST_F(ReplaySave, IsRefusedWhileNothingIsListed) {
    StartReplayWith(0);
    output = JoinPath(Here(u"not made"), u"clip.mp4");
    EXPECT_FALSE(engine->SaveReplayClip(output));
    EXPECT_EQ(engine->statusText, u"Replay is warming up. Wait 2 seconds and try again.");
    std::filesystem::remove(ToPath(PlaylistPath(engine->replayDir)));
    engine->statusText.clear();
    EXPECT_FALSE(engine->SaveReplayClip(output));
    EXPECT_EQ(engine->statusText, u"Replay is warming up. Wait 2 seconds and try again.");
    EXPECT_FALSE(Exists(Here(u"not made")));
}

TEST_F(ReplaySave, AnOutputThatExistsIsRefusedBeforeTheSaveFolderIsMade) {
    StartReplayWith(3);
    WriteFile(output, "mine");
    EXPECT_FALSE(engine->SaveReplayClip(output));
    EXPECT_EQ(engine->statusText, u"Cannot create replay output file.");
    EXPECT_EQ(ReadWhole(output), "mine");
    EXPECT_EQ(ChildCount(), 1U);
    for (const Text& name : EntriesOf(engine->cacheDir)) {
        EXPECT_FALSE(name.starts_with(u"save-"));
    }
}

TEST_F(ReplaySave, AParentThatCannotBeMadeIsRefused) {
    StartReplayWith(3);
    WriteFile(Here(u"a file"), "");
    EXPECT_FALSE(engine->SaveReplayClip(JoinPath(Here(u"a file"), u"clip.mp4")));
    EXPECT_EQ(engine->statusText, u"Cannot create replay output file.");
}

TEST_F(ReplaySave, AChildThatDoesNotStartFailsTheSave) {
    StartReplayWith(3);
    fake::FailCall("SpawnChild", 2, 0);
    EXPECT_FALSE(engine->SaveReplayClip(output));
    EXPECT_EQ(engine->statusText, FailureText());
    ExpectNothingLeft();
    EXPECT_TRUE(engine->replayRunning);
}

TEST_F(ReplaySave, AnExitCodeOtherThanZeroFailsTheSave) {
    StartReplayWith(3);
    ScriptJoin(5000, 1);
    EXPECT_FALSE(engine->SaveReplayClip(output));
    EXPECT_EQ(engine->statusText, FailureText());
    ExpectNothingLeft();
}

TEST_F(ReplaySave, AnOutputOf1024BytesFailsTheSave) {
    StartReplayWith(3);
    ScriptJoin(1024, 0);
    EXPECT_FALSE(engine->SaveReplayClip(output));
    EXPECT_EQ(engine->statusText, FailureText());
    ExpectNothingLeft();
}

TEST_F(ReplaySave, AChildThatRunsLongerThanSixtySecondsIsStoppedAndFails) {
    StartReplayWith(3);
    fake::TheChildren().onSpawn = [](fake::ScriptedChild& child) {
        WriteFile(LastArgument(child.options.commandLine), std::string(5000, 'x'));
        child.exitsOnQuit = false;
    };
    EXPECT_FALSE(engine->SaveReplayClip(output));
    EXPECT_THAT(fake::LastChild().waits, ElementsAre(60000U, 1000U));
    EXPECT_EQ(fake::LastChild().input, "q\n");
    EXPECT_TRUE(fake::LastChild().terminated);
    EXPECT_FALSE(fake::LastChild().processHeld);
    EXPECT_EQ(engine->statusText, FailureText());
    ExpectNothingLeft();
}

TEST_F(ReplaySave, AChildThatNeedsTheQuitCommandHasFailed) {
    StartReplayWith(3);
    fake::TheChildren().onSpawn = [](fake::ScriptedChild& child) {
        WriteFile(LastArgument(child.options.commandLine), std::string(5000, 'x'));
    };
    EXPECT_FALSE(engine->SaveReplayClip(output));
    ExpectNothingLeft();
}

TEST_F(ReplaySave, ADeletedSegmentFailsTheSave) {
    StartReplayWith(3);
    std::filesystem::remove(ToPath(JoinPath(engine->replayDir, u"seg00000001.ts")));
    ScriptJoin(5000, 0);
    EXPECT_FALSE(engine->SaveReplayClip(output));
    EXPECT_EQ(engine->statusText, FailureText());
    EXPECT_EQ(ChildCount(), 1U);  // nothing was joined
    ExpectNothingLeft();
}

TEST_F(ReplaySave, ASegmentThatIsListedTwiceFailsTheSave) {
    StartReplayWith(1);
    WriteFile(PlaylistPath(engine->replayDir), "seg00000000.ts\nseg00000000.ts\n");
    ScriptJoin(5000, 0);
    EXPECT_FALSE(engine->SaveReplayClip(output));
    ExpectNothingLeft();
}

TEST_F(ReplaySave, ASaveFolderThatCannotBeMadeFailsTheSave) {
    StartReplayWith(3);
    fake::TheClock().nowNs = 99'000'000'000;
    WriteFile(InCache(u"save-99000"), "in the way");
    ScriptJoin(5000, 0);
    EXPECT_FALSE(engine->SaveReplayClip(output));
    EXPECT_EQ(engine->statusText, FailureText());
    ExpectNothingLeft();
}

TEST_F(ReplaySave, AFailedRenameFailsTheSave) {
    StartReplayWith(3);
    fake::TheChildren().onSpawn = [this](fake::ScriptedChild& child) {
        WriteFile(LastArgument(child.options.commandLine), std::string(5000, 'x'));
        std::filesystem::create_directories(ToPath(JoinPath(output, u"in the way")));
        fake::EndChild(child, 0);
    };
    EXPECT_FALSE(engine->SaveReplayClip(output));
    EXPECT_EQ(engine->statusText, FailureText());
    EXPECT_FALSE(Exists(output + u".partial.mp4"));
}

TEST_F(ReplaySave, AnExceptionAnywhereLeavesNothing) {
    StartReplayWith(3);
    for (const char* call : {"SpawnChild", "WaitForExit", "ExitCode"}) {
        SCOPED_TRACE(call);
        fake::TheChildren().onSpawn = [](fake::ScriptedChild& child) {
            WriteFile(LastArgument(child.options.commandLine), std::string(5000, 'x'));
        };
        fake::ThrowInCall(call, fake::CountOf(call) + 1);
        EXPECT_THROW(engine->SaveReplayClip(output), std::bad_alloc);
        EXPECT_FALSE(Exists(output + u".partial.mp4"));
        for (const Text& entry : EntriesOf(engine->cacheDir)) {
            EXPECT_FALSE(entry.starts_with(u"save-") && entry != u"save-replay.log") << "the save's folder is left";
        }
        EXPECT_TRUE(ChildCount() == 1 || !fake::LastChild().running);
        EXPECT_TRUE(engine->replayRunning);
    }
}

TEST_F(ReplaySave, MakesTheNextPollTakeANewSampleOfTheFrameRate) {
    StartReplayWith(3);
    engine->replay.video->encodedFrames = 100;
    engine->PollHealth();
    fake::AdvanceClockMs(2000);
    engine->replay.video->encodedFrames = 220;
    engine->PollHealth();
    ASSERT_EQ(engine->measuredFps, 60);
    ScriptJoin(5000, 0);
    ASSERT_TRUE(engine->SaveReplayClip(output));
    EXPECT_EQ(engine->fpsSampleTick, 0U);
    fake::AdvanceClockMs(30000);  // the save's time
    engine->replay.video->encodedFrames = 250;
    engine->PollHealth();
    EXPECT_EQ(engine->measuredFps, 60) << "measured over the save";
    EXPECT_EQ(engine->fpsSampleFrames, 250U);
}

TEST_F(ReplaySave, AnotherSaveWorksAfterAFailure) {
    StartReplayWith(3);
    ScriptJoin(5000, 1);
    ASSERT_FALSE(engine->SaveReplayClip(output));
    ScriptJoin(5000, 0);
    EXPECT_TRUE(engine->SaveReplayClip(output));
}

TEST_F(ReplaySave, DoesNotDependOnTheReplayLength) {
    StartReplayWith(40);
    engine->replaySeconds = 15;
    ScriptJoin(5000, 0);
    ASSERT_TRUE(engine->SaveReplayClip(output));
    EXPECT_EQ(entries.size(), 41U);
    EXPECT_THAT(concatAsText, HasSubstr("file 'seg00000039.ts'\n"));
}

}  // namespace
}  // namespace zv
