// An output whose existence the system cannot check.
#include "EngineFixture.h"
#include "capture/CaptureFiles.h"
#include "support/SelfLink.h"

namespace zv {
namespace {

class UnreadableOutput : public EngineTest {
protected:
    Text output = Here(u"a.mp4");
};

TEST_F(UnreadableOutput, OfAReplayThrowsTheFileSystemsException) {
    StartReplayWith(3);
    support::MakeSelfLink(ToPath(output));
    EXPECT_THROW(engine->SaveReplayClip(output), std::filesystem::filesystem_error);
    EXPECT_TRUE(engine->replayRunning);
}

TEST_F(UnreadableOutput, OfARecordingThrowsTheFileSystemsException) {
    StartReplayWith(3);
    support::MakeSelfLink(ToPath(output));
    EXPECT_THROW(engine->StartRecording(output), std::filesystem::filesystem_error);
    EXPECT_EQ(engine->state, EngineState::Ready);
}

TEST_F(UnreadableOutput, OfARecordingUnderItsWorkingNameThrowsTheFileSystemsException) {
    StartReplayWith(3);
    support::MakeSelfLink(ToPath(WorkingName(output)));
    EXPECT_THROW(engine->StartRecording(output), std::filesystem::filesystem_error);
    EXPECT_EQ(engine->state, EngineState::Ready);
}

}  // namespace
}  // namespace zv
