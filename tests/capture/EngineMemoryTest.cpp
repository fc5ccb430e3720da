// The engine on a machine that runs out of memory, at every request for some in turn: what it says about itself has to
// be what it does.
#include "EngineFixture.h"
#include "fake/Allocations.h"

namespace zv {
namespace {

class EngineMemory : public EngineTest {
protected:
    EngineMemory() {
        fake::TheChildren().onSpawn = [](fake::ScriptedChild& child) {
            WriteProgress(child, "frame=1000\n");
            const Text output = LastArgument(child.options.commandLine);
            if (output.ends_with(u".partial.mp4")) {
                WriteFile(output, std::string(5000, 'x'));
            }
        };
        fake::TheRelays().onStop = [] { fake::EndChild(fake::LastChild(), 0); };
    }

    /// Takes the step with memory for one request more each time until it gets through; `check` follows each of them.
    template <class Step, class Check>
    void Starve(Step step, Check check) {
        std::uint64_t nth = 1;
        for (bool through = false; !through && nth < 2000; ++nth) {
            SCOPED_TRACE("request " + std::to_string(nth));
            try {
                fake::RefuseAllocationsHereFrom(nth);
                through = step();
                fake::RefuseAllocationsHereFrom(0);
            } catch (const std::bad_alloc&) {
                fake::RefuseAllocationsHereFrom(0);
            }
            check(through);
        }
        EXPECT_GT(nth, 5U);
        EXPECT_LT(nth, 2000U);
    }

    static bool RunsAny(const EncoderProcess& process) {
        return IsChildRunning(process) || process.video || process.audio;
    }
};

TEST_F(EngineMemory, AReplayThatDoesNotComeUpLeavesNothingRunning) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    Starve([this] { return engine->StartReplay(true, 60); },
           [this](bool through) {
               EXPECT_EQ(engine->replayRunning, through);
               EXPECT_EQ(RunsAny(engine->replay), through);
               EXPECT_EQ(fake::TheVideo().alive.size(), through ? 1U : 0U);
           });
}

TEST_F(EngineMemory, ARecordingThatDoesNotComeUpLeavesTheReplayAlone) {
    StartReplayWith(3);
    const Text output = Here(u"a.mp4");
    Starve([&] { return engine->StartRecording(output); },
           [&](bool through) {
               EXPECT_EQ(engine->state == EngineState::Recording, through);
               EXPECT_EQ(IsChildRunning(engine->recording), through);
               EXPECT_TRUE(engine->replayRunning);
               if (!through) {
                   std::filesystem::remove(ToPath(output + u".partial.mp4"));
               }
           });
}

TEST_F(EngineMemory, ARecordingOfItsOwnThatDoesNotComeUpLeavesNothingRunning) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    const Text output = Here(u"a.mp4");
    Starve([&] { return engine->StartRecording(output); },
           [&](bool through) {
               EXPECT_EQ(engine->state == EngineState::Recording, through);
               EXPECT_EQ(RunsAny(engine->recording), through);
               if (!through) {
                   std::filesystem::remove(ToPath(output + u".partial.mp4"));
               }
           });
}

TEST_F(EngineMemory, ARecordingThatCannotBeFinishedIsNoLongerOne) {
    StartReplayWith(3);
    int number = 0;
    const auto next = [&] { return Here(u"a" + Decimal(++number) + u".mp4"); };
    ASSERT_TRUE(engine->StartRecording(next()));
    Starve(
        [this] {
            engine->FinishRecording();
            return engine->state == EngineState::Ready;
        },
        [&](bool through) {
            EXPECT_EQ(engine->state == EngineState::Recording, IsChildRunning(engine->recording));
            EXPECT_EQ(Exists(engine->recordingPath), through);
            if (!through && engine->state != EngineState::Recording) {
                ASSERT_TRUE(engine->StartRecording(next()));
            }
        });
}

TEST_F(EngineMemory, APollAlwaysHasAnAnswerForAReplayThatHasDied) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    const Text reason = u"Desktop capture was interrupted. (0x887A0026)";
    CapturePollResult result;
    std::uint64_t nth = 1;  // the first request is the one for the answer itself
    while (result.status != reason && nth < 2000) {
        if (!engine->replayRunning) {
            ASSERT_TRUE(engine->StartReplay(true, 60));
        }
        fake::FailVideo(*engine->replay.video, reason);
        fake::RefuseAllocationsHereFrom(++nth);
        result = PollCapture(*engine);
        fake::RefuseAllocationsHereFrom(0);
        EXPECT_TRUE(result.changed) << nth;
        EXPECT_TRUE(result.status == reason || result.status == u"Capture check failed. Try restarting replay.") << nth;
        EXPECT_EQ(engine->replayRunning, RunsAny(engine->replay)) << nth;
    }
    EXPECT_GT(nth, 2U);
    EXPECT_LT(nth, 2000U);
    EXPECT_FALSE(engine->replayRunning);
}

}  // namespace
}  // namespace zv
