#include "library/CapturePath.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "fake/Clock.h"
#include "platform/Files.h"
#include "support/FileBytes.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

class CapturePath : public testing::Test {
protected:
    CapturePath() {
        fake::ResetClock();
        fake::TheClock().localNow = {2026, 11, 15, 5, 9, 18, 42};
    }

    support::TemporaryFolder folder_;
};

TEST_F(CapturePath, ContainsStemTimeAndExtension) {
    const std::filesystem::path folder = folder_.Path() / "Apex Legends";
    const Text path = BuildCapturePath(FromPath(folder), replayStem, videoExtension);
    EXPECT_EQ(path, FromPath(folder / "ZV_Replay_2026-11-15_05-09-18-042.mp4"));
}

TEST_F(CapturePath, HasTheStemOfEachKindOfCapture) {
    const Text folder = FromPath(folder_.Path());
    EXPECT_TRUE(
        EndsWith(BuildCapturePath(folder, recordingStem, videoExtension), u"ZV_Recording_2026-11-15_05-09-18-042.mp4"));
    EXPECT_TRUE(EndsWith(BuildCapturePath(folder, screenshotStem, imageExtension),
                         u"ZV_Screenshot_2026-11-15_05-09-18-042.png"));
}

TEST_F(CapturePath, PadsEveryPartOfTheTime) {
    fake::TheClock().localNow = {2027, 1, 2, 3, 4, 5, 6};
    EXPECT_TRUE(EndsWith(BuildCapturePath(FromPath(folder_.Path()), replayStem, videoExtension),
                         u"ZV_Replay_2027-01-02_03-04-05-006.mp4"));
}

TEST_F(CapturePath, CreatesItsFolderButNoFile) {
    const std::filesystem::path folder = folder_.Path() / "a" / "b";
    const Text path = BuildCapturePath(FromPath(folder), replayStem, videoExtension);
    EXPECT_TRUE(std::filesystem::is_directory(folder));
    EXPECT_FALSE(std::filesystem::exists(ToPath(path)));
}

TEST_F(CapturePath, IsReturnedEvenIfItsFolderCannotBeCreated) {
    support::WriteBytes(folder_.Path() / "file", "in the way");
    const std::filesystem::path folder = folder_.Path() / "file" / "game";
    EXPECT_EQ(BuildCapturePath(FromPath(folder), replayStem, videoExtension),
              FromPath(folder / "ZV_Replay_2026-11-15_05-09-18-042.mp4"));
}

TEST_F(CapturePath, AFileNameHasAtMost191Characters) {
    const Text path = BuildCapturePath(FromPath(folder_.Path()), Text(200, u's'), videoExtension);
    EXPECT_EQ(path, JoinPath(FromPath(folder_.Path()), Text(191, u's')));
}

}  // namespace
}  // namespace zv
