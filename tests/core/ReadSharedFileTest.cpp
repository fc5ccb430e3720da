#include "core/ReadSharedFile.h"

#include <gtest/gtest.h>

#include <fstream>

#include "platform/Files.h"
#include "support/FileBytes.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

TEST(ReadSharedFile, ReadsAFileWhileAnotherWritesIt) {
    const support::TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / "live.m3u8";
    std::ofstream writer(path, std::ios::binary);
    writer << "one\n" << std::flush;
    EXPECT_EQ(ReadSharedFile(FromPath(path), 0x100000), "one\n");
    writer << "two\n" << std::flush;
    EXPECT_EQ(ReadSharedFile(FromPath(path), 0x100000), "one\ntwo\n");
}

TEST(ReadSharedFile, ReturnsNothingForAMissingFileAndForAFolder) {
    const support::TemporaryFolder folder;
    EXPECT_EQ(ReadSharedFile(FromPath(folder.Path() / "missing"), 100), "");
    EXPECT_EQ(ReadSharedFile(FromPath(folder.Path()), 100), "");
    EXPECT_EQ(ReadSharedFile(u"", 100), "");
}

TEST(ReadSharedFile, StopsAtTheFirstBlockThatReachesTheCap) {
    const support::TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / "log.txt";
    std::string content(20000, 'x');
    content[4095] = '\0';
    content[4096] = '\r';
    content[4097] = '\n';
    support::WriteBytes(path, content);
    EXPECT_EQ(ReadSharedFile(FromPath(path), 1), content.substr(0, 4096));
    EXPECT_EQ(ReadSharedFile(FromPath(path), 4096), content.substr(0, 4096));
    EXPECT_EQ(ReadSharedFile(FromPath(path), 4097), content.substr(0, 8192));
    EXPECT_EQ(ReadSharedFile(FromPath(path), 20000), content);
    EXPECT_EQ(ReadSharedFile(FromPath(path), 100000), content);
}

}  // namespace
}  // namespace zv
