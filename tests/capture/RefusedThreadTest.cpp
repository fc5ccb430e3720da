// Workers and background jobs whose thread the system refuses: the start fails with a sentence, and a later one works.
#include <gtest/gtest.h>

#include <string>

#include "audio/AudioCapture.h"
#include "capture/SegmentRelay.h"
#include "core/Worker.h"
#include "platform/Files.h"
#include "support/NoThreads.h"
#include "support/TemporaryFolder.h"
#include "ui/state/FutureSlot.h"
#include "video/VideoCapture.h"

namespace zv {
namespace {

using support::NoThreads;

TEST(RefusedThread, FailsTheStartOfAWorker) {
    std::atomic<bool> running{false};
    Worker worker(running);
    WorkerOptions options;
    options.readyMs = 60000;
    options.noThread = u"No thread";
    {
        const NoThreads none;
        EXPECT_FALSE(worker.Start(options, [] {}));
    }
    EXPECT_EQ(worker.Error(), u"No thread (0x8007000B)");
    EXPECT_TRUE(worker.Start(options, [&] { worker.ReportReady(); }));
}

TEST(RefusedThread, FailsTheVideoWithASentence) {
    const NoThreads none;
    VideoCapture capture;
    EXPECT_FALSE(capture.Start(u"MONITOR", {1920, 1080, 60, 50}));
    EXPECT_EQ(capture.Error(), u"Desktop capture could not allocate resources (0x8007000B)");
}

TEST(RefusedThread, FailsTheSoundWithASentence) {
    const NoThreads none;
    AudioCapture capture;
    EXPECT_FALSE(capture.Start(true, true));
    EXPECT_EQ(capture.Error(), u"Cannot initialize Windows audio (0x8007000B)");
}

TEST(RefusedThread, FailsTheRelay) {
    const support::TemporaryFolder folder;
    const NoThreads none;
    SegmentRelay relay;
    EXPECT_FALSE(relay.Start(FromPath(folder.Path())));
}

TEST(RefusedThread, GivesABackgroundJobItsFailedResult) {
    FutureSlot<std::string> slot;
    {
        const NoThreads none;
        slot.Start([] { return std::string("done"); }, "failed");
    }
    EXPECT_TRUE(slot.IsFinished());
    EXPECT_EQ(slot.Take(), "failed");
    slot.Start([] { return std::string("done"); }, "failed");
    EXPECT_EQ(slot.Take(), "done");
}

}  // namespace
}  // namespace zv
