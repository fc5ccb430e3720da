#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <stdexcept>

#include "core/ReadSharedFile.h"
#include "platform/Files.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

TEST(LinuxFiles, NamesAreUtf8) { EXPECT_TRUE(namesAreUtf8); }

TEST(LinuxFiles, EveryFileNameConvertsToTextAndBack) {
    const support::TemporaryFolder folder;
    const std::set<std::string> names = {"plain.mp4", "Z\xFCrich.mp4", "\xED\xA0\x80.mp4", "\xC3.mp4"};
    for (const std::string& name : names) {
        std::ofstream(folder.Path() / name) << name;
    }
    std::set<std::string> seen;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        const Text text = FromPath(entry.path());
        EXPECT_EQ(ReadSharedFile(text, 100), entry.path().filename().native());
        seen.insert(ToPath(text).filename().native());
    }
    EXPECT_EQ(seen, names);
}

TEST(LinuxFiles, AFifoWithoutAWriterReadsAsEmptyAtOnce) {
    const support::TemporaryFolder folder;
    const std::filesystem::path fifo = folder.Path() / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(ReadSharedFile(FromPath(fifo), 100), "");
}

dev_t VolumeOf(const std::filesystem::path& path) {
    struct stat information {};
    return stat(path.c_str(), &information) == 0 ? information.st_dev : dev_t{};
}

/// A folder for temporary files on another volume than the default one: shared memory, or the folder of the tests if
/// the default folder is in shared memory.
std::filesystem::path OtherVolume() {
    const dev_t usual = VolumeOf(std::filesystem::temp_directory_path());
    for (const std::filesystem::path& folder : {std::filesystem::path("/dev/shm"), std::filesystem::current_path()}) {
        if (std::filesystem::is_directory(folder) && VolumeOf(folder) != usual) {
            return folder;
        }
    }
    throw std::runtime_error("this system has one volume only");
}

class TwoVolumes : public testing::Test {
protected:
    static std::ptrdiff_t FilesIn(const support::TemporaryFolder& folder) {
        return std::distance(std::filesystem::directory_iterator(folder.Path()), {});
    }

    const support::TemporaryFolder here_;
    const support::TemporaryFolder there_{"zorvel-test", OtherVolume()};
    const std::filesystem::path from_ = here_.Path() / "clip.mp4";
    const std::filesystem::path to_ = there_.Path() / "clip.mp4";
};

TEST_F(TwoVolumes, AMoveCopiesReplacesAndKeepsTheTime) {
    std::ofstream(from_) << std::string(100000, 'c');
    std::ofstream(to_) << "old";
    const auto written = std::filesystem::file_time_type::clock::now() - std::chrono::hours(48);
    std::filesystem::last_write_time(from_, written);

    EXPECT_EQ(MoveFileReplacing(FromPath(from_), FromPath(to_)), resultOk);
    EXPECT_FALSE(std::filesystem::exists(from_));
    EXPECT_EQ(ReadSharedFile(FromPath(to_), 1000000), std::string(100000, 'c'));
    EXPECT_EQ(std::filesystem::last_write_time(to_), written);
    EXPECT_EQ(FilesIn(there_), 1) << "nothing of the copy is left beside it";
}

TEST(LinuxFiles, AMoveToAnotherVolumeSucceedsIfItsSourceCannotBeRemoved) {
    const support::TemporaryFolder folder;
    const std::filesystem::path target = folder.Path() / "copy";
    EXPECT_EQ(MoveFileReplacing(u"/proc/version", FromPath(target)), resultOk);
    EXPECT_TRUE(std::filesystem::is_regular_file(target));
    EXPECT_TRUE(std::filesystem::exists("/proc/version"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
}

TEST_F(TwoVolumes, AFailedMoveChangesNothing) {
    std::filesystem::create_directory(to_);
    std::ofstream(from_) << "content";

    EXPECT_TRUE(Failed(MoveFileReplacing(FromPath(from_), FromPath(to_))));
    EXPECT_EQ(ReadSharedFile(FromPath(from_), 100), "content");
    EXPECT_TRUE(std::filesystem::is_directory(to_));
    EXPECT_EQ(FilesIn(there_), 1);
}

}  // namespace
}  // namespace zv
