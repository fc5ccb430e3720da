// Files that another process has opened, and folders of another computer.
#include <gtest/gtest.h>

#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/windows/Native.h"
#include "support/FileBytes.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

/// Opens the file as a process that deletes it does: every other reader has to share deletion.
Handle OpenToDelete(const std::filesystem::path& path) {
    return Handle(CreateFileW(path.c_str(), DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, 0, nullptr));
}

TEST(FileSharing, AFileThatAnotherDeletesCanBeCopied) {
    const support::TemporaryFolder folder;
    const std::filesystem::path segment = folder.Path() / "seg00000001.ts";
    const std::filesystem::path copy = folder.Path() / "copy.ts";
    support::WriteBytes(segment, "media");
    const Handle deleter = OpenToDelete(segment);
    ASSERT_TRUE(deleter);
    EXPECT_EQ(CopyToNewFile(FromPath(segment), FromPath(copy)), resultOk);
    EXPECT_EQ(support::ReadBytes(copy), "media");
}

TEST(FileSharing, AFileThatAnotherSharesWithNobodyCanBeExamined) {
    const support::TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / "a.mp4";
    support::WriteBytes(path, "media");
    const Handle owner(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(owner);
    EXPECT_TRUE(PathExists(FromPath(path)));
    EXPECT_EQ(ExamineFile(FromPath(path)).value_or(FileFacts{}).size, 5U);
}

/// A share of a server, for as long as the prefix lives: Wine looks for them among its devices.
std::filesystem::path MakeShare() {
    const std::filesystem::path prefix = ToPath(u"Z:" + EnvironmentValue(u"WINEPREFIX"));
    std::filesystem::create_directories(prefix / "dosdevices" / "unc" / "nas" / "clips");
    return L"\\\\nas\\clips";
}

TEST(FileSharing, FoldersAreCreatedInTheRootOfAShare) {
    const std::filesystem::path share = MakeShare();
    EXPECT_FALSE(CreateFolders(share));
    EXPECT_FALSE(CreateFolders(share / "a game" / "clips"));
    EXPECT_TRUE(std::filesystem::is_directory(share / "a game" / "clips"));
    EXPECT_TRUE(PathExists(FromPath(share)));
}

}  // namespace
}  // namespace zv
