// Commands of other processes: which are refused, when the reply follows, and what it says.
#include "ui/commands/RemoteCommands.h"

#include <optional>

#include "ui/Interface.h"
#include "ui/commands/Commands.h"
#include "ui/state/Engine.h"

namespace zv {
namespace {

using fake::TheEngine;
using testing::ElementsAre;
using testing::IsEmpty;

class RemoteCommands : public Interface {
protected:
    RemoteCommands() {
        CurrentSettings().captureRoot = Folder(u"captures");
        fake::TheMonitors().monitors = {{u"FIRST", 0, 0, 1920, 1080, -1, true}};
        Engine().replayRunning = true;
        OpenMainWindow();
    }
    /// The reply is stored in the returned record.
    std::shared_ptr<std::optional<CommandOutcome>> Run(TextView name) {
        auto outcome = std::make_shared<std::optional<CommandOutcome>>();
        RunRemoteCommand(name, [outcome](const CommandOutcome& reply) {
            EXPECT_FALSE(outcome->has_value()) << "a second reply";
            *outcome = reply;
        });
        return outcome;
    }
    static void ExpectDone(const std::optional<CommandOutcome>& outcome, const Text& sentence, const Text& path) {
        ASSERT_TRUE(outcome.has_value());
        EXPECT_TRUE(outcome->done);
        EXPECT_EQ(outcome->sentence, sentence);
        EXPECT_EQ(outcome->path, path);
    }
    static void ExpectFailed(const std::optional<CommandOutcome>& outcome, const Text& sentence) {
        ASSERT_TRUE(outcome.has_value());
        EXPECT_FALSE(outcome->done);
        EXPECT_EQ(outcome->sentence, sentence);
        EXPECT_EQ(outcome->path, u"");
    }
};

TEST_F(RemoteCommands, AClipIsAnsweredWithItsPathWhenTheJobIsCollected) {
    const auto outcome = Run(u"save-replay");
    AwaitJob();
    EXPECT_FALSE(outcome->has_value()) << "before the collection";
    FinishJob();
    ASSERT_EQ(TheEngine().clips.size(), 1U);
    ExpectDone(*outcome, u"Replay saved: " + TheEngine().clips[0], TheEngine().clips[0]);
    EXPECT_EQ(Ui().statusText, u"Replay saved: " + TheEngine().clips[0]) << "the user sees it, too";
}

TEST_F(RemoteCommands, ARecordingIsAnsweredWithItsFinalPathAtItsStart) {
    const auto started = Run(u"toggle-recording");
    FinishJob();
    ASSERT_EQ(TheEngine().recordings.size(), 1U);
    ExpectDone(*started, u"Recording started", TheEngine().recordings[0]);
    const auto ended = Run(u"toggle-recording");
    FinishJob();
    EXPECT_TRUE(ended->has_value());
    EXPECT_EQ(fake::CountOf("FinishRecording"), 1);
}

TEST_F(RemoteCommands, AScreenshotIsAnsweredBesideARunningJob) {
    gate_.Hold("SaveReplayClip");
    const auto clip = Run(u"save-replay");
    RunTo("SaveReplayClip");
    const auto picture = Run(u"screenshot");
    AwaitScreenshot();
    Collect();
    ASSERT_EQ(fake::Grabs().size(), 1U);
    ASSERT_TRUE(picture->has_value());
    EXPECT_TRUE((*picture)->done);
    EXPECT_EQ((*picture)->sentence, u"Screenshot saved: " + (*picture)->path);
    EXPECT_TRUE(PathExists((*picture)->path));
    EXPECT_FALSE(clip->has_value());
    gate_.Open();
    FinishJob();
    EXPECT_TRUE(clip->has_value());
}

TEST_F(RemoteCommands, TheOverlaysIsAnsweredAtOnce) { ExpectDone(*Run(u"overlay"), u"", u""); }

TEST_F(RemoteCommands, RefusalsAndFailuresAreAnsweredWithTheirSentence) {
    Engine().replayRunning = false;
    ExpectFailed(*Run(u"save-replay"), u"Replay is paused. Turn on automatic replay in Settings > Capture.");
    Engine().replayRunning = true;
    fake::FailCall("SaveReplayClip", 1, -1);
    const auto failed = Run(u"save-replay");
    // The slot belongs to the first command until its result has been collected.
    ExpectFailed(*Run(u"save-replay"), u"Capture operation in progress - please wait.");
    ExpectFailed(*Run(u"toggle-recording"), u"Please wait for the current capture operation.");
    FinishJob();
    ExpectFailed(*failed, u"Replay not saved");
    fake::TheWindows().captureObstacle = u"Zorvel cannot capture the screen.";
    for (const TextView name : {u"save-replay", u"toggle-recording", u"screenshot"}) {
        ExpectFailed(*Run(name), u"Zorvel cannot capture the screen.");
    }
}

TEST_F(RemoteCommands, AnyOtherNameIsRefused) {
    for (const Text& name : {Text(), Text(u"save"), Text(u"--overlay"), Text(u"OVERLAY"), Text(u"overlay "),
                             Text(u"quit"), Text(1000, u'x'), Text(1, char16_t{0xDC80})}) {
        ExpectFailed(*Run(name), u"Zorvel does not know this command.");
    }
    EXPECT_FALSE(Ui().capture.captureJobSlot.IsBusy() || Ui().screenshot.screenshotSlot.IsBusy());
}

TEST_F(RemoteCommands, JobsOfTheUserAreNotAnswered) {
    SaveReplay();
    const auto refused = Run(u"save-replay");
    ExpectFailed(*refused, u"Capture operation in progress - please wait.");
    FinishJob();  // a second reply would fail the test
    EXPECT_EQ(TheEngine().clips.size(), 1U);
}

TEST_F(RemoteCommands, OnlySentencesOfSuccessHaveAPath) {
    struct Row {
        Text sentence;
        bool done;
        Text path;
    };
    Engine().recordingPath = u"/r.mp4";
    for (const Row& row : std::vector<Row>{{u"Replay saved: /a b.mp4", true, u"/a b.mp4"},
                                           {u"Recording saved: /c.mp4", true, u"/c.mp4"},
                                           {u"Screenshot saved: /d.png", true, u"/d.png"},
                                           {u"Recording started. Stop Recording to finalize", true, u"/r.mp4"},
                                           {u"Recording failed or did not finalize. See /l", false, u""},
                                           {u"Not Replay saved: /a", false, u""},
                                           {u"", false, u""}}) {
        CommandOutcome outcome;
        CommandReply waiting = [&](const CommandOutcome& reply) { outcome = reply; };
        AnswerRemoteCommand(waiting, row.sentence);
        EXPECT_EQ(outcome.done, row.done);
        EXPECT_EQ(outcome.sentence, row.sentence);
        EXPECT_EQ(outcome.path, row.path);
        EXPECT_EQ(waiting, nullptr);
    }
}

}  // namespace
}  // namespace zv
