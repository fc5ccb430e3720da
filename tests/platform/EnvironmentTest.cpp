#include "platform/Environment.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/Files.h"
#include "platform/Folders.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

TEST(Environment, AVariableCanBeSetAndRead) {
    SetEnvironmentValue(u"ZV_TEST_VALUE", u"C:\\Zürich \U0001F3AE\\ffmpeg");
    EXPECT_EQ(EnvironmentValue(u"ZV_TEST_VALUE"), u"C:\\Zürich \U0001F3AE\\ffmpeg");
    SetEnvironmentValue(u"ZV_TEST_VALUE", u"b");
    EXPECT_EQ(EnvironmentValue(u"ZV_TEST_VALUE"), u"b");
}

TEST(Environment, AMissingAndAnEmptyVariableAreEmpty) {
    EXPECT_EQ(EnvironmentValue(u"ZV_TEST_NEVER_SET"), u"");
    SetEnvironmentValue(u"ZV_TEST_EMPTY", u"");
    EXPECT_EQ(EnvironmentValue(u"ZV_TEST_EMPTY"), u"");
}

TEST(Environment, AValueOf32767CharactersIsReadCompletely) {
    const Text longest(32766, u'x');
    SetEnvironmentValue(u"ZV_TEST_LONG", longest);
    EXPECT_EQ(EnvironmentValue(u"ZV_TEST_LONG"), longest);
}

TEST(Environment, TheFolderOfTheExecutableContainsThisTest) {
    const Text folder = ExecutableFolder();
    ASSERT_FALSE(folder.empty());
    EXPECT_NE(folder.back(), pathSeparator);
    const std::filesystem::path path = ToPath(folder);
    EXPECT_TRUE(std::filesystem::exists(path / "PlatformTest") || std::filesystem::exists(path / "PlatformTest.exe"));
}

TEST(Environment, OwnProcessIdIsConstant) {
    EXPECT_NE(OwnProcessId(), 0U);
    EXPECT_EQ(OwnProcessId(), OwnProcessId());
}

TEST(Environment, AnIdOfNoProcessIsNotRunning) {
    EXPECT_TRUE(IsProcessRunning(OwnProcessId()));
    EXPECT_FALSE(IsProcessRunning(0x7FFFFFF0));  // above the largest id of Linux
}

TEST(Environment, TheFileNameOfTheEncoderIsFfmpeg) { EXPECT_TRUE(Text(ffmpegFileName).starts_with(u"ffmpeg")); }

TEST(Environment, FindsOnlyProgramsOnTheSearchPath) {
    const support::TemporaryFolder folder;
    const Text saved = EnvironmentValue(u"PATH");
    const std::filesystem::path program = folder.Path() / "zv-test-program.exe";
    std::ofstream(program) << "x";
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    SetEnvironmentValue(u"PATH", FromPath(folder.Path()));
    const Text found = FindOnSearchPath(u"zv-test-program.exe");
    const Text missing = FindOnSearchPath(u"zv-test-missing.exe");
    SetEnvironmentValue(u"PATH", saved);
    std::error_code code;
    EXPECT_TRUE(std::filesystem::equivalent(ToPath(found), program, code)) << ToPath(found);
    EXPECT_EQ(missing, u"");
}

TEST(Folders, TheCacheFolderHasNoSeparatorAtItsEnd) {
    const Text folder = CacheFolder();
    ASSERT_FALSE(folder.empty());
    EXPECT_NE(folder.back(), pathSeparator);
}

TEST(Folders, APrivateFolderIsCreatedWithItsParentsAndCanExist) {
    const support::TemporaryFolder folder;
    const Text path = FromPath(folder.Path() / "a" / "b");
    EXPECT_TRUE(CreatePrivateFolder(path));
    EXPECT_TRUE(std::filesystem::is_directory(ToPath(path)));
    EXPECT_TRUE(CreatePrivateFolder(path));
    std::ofstream(folder.Path() / "file") << "in the way";
    EXPECT_FALSE(CreatePrivateFolder(FromPath(folder.Path() / "file")));
    EXPECT_FALSE(CreatePrivateFolder(FromPath(folder.Path() / "file" / "b")));
}

TEST(Folders, EveryKnownFolderHasNoSeparatorAtItsEnd) {
    for (const KnownFolder kind : {KnownFolder::Videos, KnownFolder::Pictures, KnownFolder::LocalData}) {
        const Text folder = FolderOf(kind);
        ASSERT_FALSE(folder.empty());
        EXPECT_NE(folder.back(), pathSeparator);
    }
    EXPECT_NE(FolderOf(KnownFolder::Videos), FolderOf(KnownFolder::LocalData));
}

}  // namespace
}  // namespace zv
