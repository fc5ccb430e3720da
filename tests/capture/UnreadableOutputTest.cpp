// An output whose existence the system cannot check, because its name is too long.
#include "EngineFixture.h"

namespace zv {
namespace {

class UnreadableOutput : public EngineTest {
protected:
    Text output = Here(Text(300, u'n'));
};

TEST_F(UnreadableOutput, OfAReplayThrowsTheFileSystemsException) {
    StartReplayWith(3);
    EXPECT_THROW(engine->SaveReplayClip(output), std::filesystem::filesystem_error);
    EXPECT_TRUE(engine->replayRunning);
}

TEST_F(UnreadableOutput, OfARecordingThrowsTheFileSystemsException) {
    StartReplayWith(3);
    EXPECT_THROW(engine->StartRecording(output), std::filesystem::filesystem_error);
    EXPECT_EQ(engine->state, EngineState::Ready);
}

}  // namespace
}  // namespace zv
