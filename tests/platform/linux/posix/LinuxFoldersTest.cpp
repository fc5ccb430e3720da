#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <string>

#include "core/Utf8.h"
#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/Folders.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

/// Restores environment variables.
class SavedVariables {
public:
    SavedVariables() {
        for (const char* name :
             {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "LOCALAPPDATA", "XDG_CACHE_HOME", "PATH"}) {
            const char* value = std::getenv(name);
            saved_[name] = value != nullptr ? std::optional<std::string>(value) : std::nullopt;
        }
    }
    ~SavedVariables() {
        for (const auto& [name, value] : saved_) {
            value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
        }
    }
    SavedVariables(const SavedVariables&) = delete;
    SavedVariables& operator=(const SavedVariables&) = delete;

private:
    std::map<std::string, std::optional<std::string>> saved_;
};

class LinuxFolders : public testing::Test {
protected:
    LinuxFolders() {
        for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "LOCALAPPDATA", "XDG_CACHE_HOME"}) {
            unsetenv(name);
        }
        setenv("HOME", "/home/zoe", 1);
    }

    SavedVariables saved_;
};

[[noreturn]] void ExitWithMediaFolders(const Text& videos, const Text& pictures) {
    const Text answers[] = {FolderOf(KnownFolder::Videos), FolderOf(KnownFolder::Pictures)};
    std::cerr << ToUtf8(answers[0]) << ' ' << ToUtf8(answers[1]);
    std::_Exit(answers[0] == videos && answers[1] == pictures ? 0 : 1);
}

/// Checks in a process of its own, because GLib reads the user's folders once in each process.
void ExpectMediaFolders(const Text& videos, const Text& pictures) {
    EXPECT_EXIT(ExitWithMediaFolders(videos, pictures), testing::ExitedWithCode(0), "");
}

TEST_F(LinuxFolders, TheMediaFoldersAreInTheHomeFolderByDefault) {
    ExpectMediaFolders(u"/home/zoe/Videos", u"/home/zoe/Pictures");
}

TEST_F(LinuxFolders, EveryFolderIsTheCurrentOneWithoutAHomeFolder) {
    unsetenv("HOME");
    ExpectMediaFolders(u".", u".");
    EXPECT_EQ(FolderOf(KnownFolder::LocalData), u".");
    EXPECT_EQ(EnvironmentValue(u"LOCALAPPDATA"), u"");
}

TEST_F(LinuxFolders, ReadsTheUsersFoldersFromTheConfigurationFolder) {
    const support::TemporaryFolder home;
    std::filesystem::create_directory(home.Path() / ".config");
    std::ofstream(home.Path() / ".config" / "user-dirs.dirs")
        << "# a comment\nXDG_VIDEOS_DIR=\"$HOME/Filme\"\nXDG_PICTURES_DIR=\"/mnt/Bilder/\"\n";
    setenv("HOME", home.Path().c_str(), 1);
    ExpectMediaFolders(FromPath(home.Path() / "Filme"), u"/mnt/Bilder");

    const support::TemporaryFolder configuration;
    std::ofstream(configuration.Path() / "user-dirs.dirs") << "XDG_VIDEOS_DIR=\"/elsewhere\"\n";
    setenv("XDG_CONFIG_HOME", configuration.Path().c_str(), 1);
    ExpectMediaFolders(u"/elsewhere", FromPath(home.Path() / "Pictures"));
}

TEST_F(LinuxFolders, ARelativeMediaFolderIsReplacedByTheDefault) {
    const support::TemporaryFolder configuration;
    std::ofstream(configuration.Path() / "user-dirs.dirs")
        << "XDG_VIDEOS_DIR=\"relative\"\nXDG_PICTURES_DIR=/unquoted\n";
    setenv("XDG_CONFIG_HOME", configuration.Path().c_str(), 1);
    ExpectMediaFolders(u"/home/zoe/Videos", u"/home/zoe/Pictures");
}

TEST_F(LinuxFolders, LocalDataIsTheVariableElseTheDataHomeElseTheFolderUnderHome) {
    EXPECT_EQ(FolderOf(KnownFolder::LocalData), u"/home/zoe/.local/share");
    EXPECT_EQ(EnvironmentValue(u"LOCALAPPDATA"), u"/home/zoe/.local/share");
    setenv("XDG_DATA_HOME", "/data", 1);
    EXPECT_EQ(FolderOf(KnownFolder::LocalData), u"/data");
    EXPECT_EQ(EnvironmentValue(u"LOCALAPPDATA"), u"/data");
    setenv("LOCALAPPDATA", "/local/", 1);
    EXPECT_EQ(FolderOf(KnownFolder::LocalData), u"/local");
    EXPECT_EQ(EnvironmentValue(u"LOCALAPPDATA"), u"/local/");
    setenv("LOCALAPPDATA", "", 1);
    EXPECT_EQ(FolderOf(KnownFolder::LocalData), u"/data");
}

TEST_F(LinuxFolders, TheCacheIsTheVariableElseTheFolderUnderHome) {
    EXPECT_EQ(CacheFolder(), u"/home/zoe/.cache");
    setenv("XDG_CACHE_HOME", "/var/cache/zoe//", 1);
    EXPECT_EQ(CacheFolder(), u"/var/cache/zoe");
    setenv("XDG_CACHE_HOME", "relative", 1);
    EXPECT_EQ(CacheFolder(), u"/home/zoe/.cache");
    unsetenv("HOME");
    EXPECT_EQ(CacheFolder(), u".");
}

/// The permissions of a folder, as in "755".
unsigned ModeOf(const std::filesystem::path& folder) {
    return static_cast<unsigned>(std::filesystem::status(folder).permissions());
}

TEST(LinuxPrivateFolder, OnlyTheUserCanAccessIt) {
    const support::TemporaryFolder folder;
    const mode_t before = umask(0);
    EXPECT_TRUE(CreatePrivateFolder(FromPath(folder.Path() / "fresh")));
    std::filesystem::create_directory(folder.Path() / "open");
    umask(before);
    EXPECT_TRUE(CreatePrivateFolder(FromPath(folder.Path() / "open")));
    EXPECT_EQ(ModeOf(folder.Path() / "fresh"), 0700U);
    EXPECT_EQ(ModeOf(folder.Path() / "open"), 0700U);
}

TEST(LinuxPrivateFolder, IsNoLink) {
    const support::TemporaryFolder folder;
    std::filesystem::create_directory(folder.Path() / "target");
    std::filesystem::create_directory_symlink(folder.Path() / "target", folder.Path() / "link");
    EXPECT_FALSE(CreatePrivateFolder(FromPath(folder.Path() / "link")));
}

TEST(LinuxPrivateFolder, IsNotTheFolderOfAnotherUser) {
    const support::TemporaryFolder folder;
    std::filesystem::path others = "/usr";  // belongs to root
    if (geteuid() == 0) {
        others = folder.Path() / "others";
        std::filesystem::create_directory(others);
        ASSERT_EQ(chown(others.c_str(), 65534, 65534), 0);
    }
    const unsigned before = ModeOf(others);
    EXPECT_FALSE(CreatePrivateFolder(FromPath(others)));
    EXPECT_EQ(ModeOf(others), before);
}

TEST_F(LinuxFolders, SearchesThePathInOrderForExecutables) {
    const support::TemporaryFolder folder;
    for (const char* name : {"a", "b", "c", "d"}) {
        std::filesystem::create_directory(folder.Path() / name);
    }
    std::filesystem::create_directory(folder.Path() / "a" / "ffmpeg");
    std::ofstream(folder.Path() / "b" / "ffmpeg") << "not executable";
    for (const char* name : {"c", "d"}) {
        std::ofstream(folder.Path() / name / "ffmpeg") << "x";
        std::filesystem::permissions(folder.Path() / name / "ffmpeg", std::filesystem::perms::owner_all);
    }
    const std::string path = folder.Path().native();
    setenv("PATH", (path + "/a:" + path + "/b:" + path + "/c:" + path + "/d").c_str(), 1);
    EXPECT_EQ(FindOnSearchPath(u"ffmpeg"), FromPath(folder.Path() / "c" / "ffmpeg"));
    setenv("PATH", (path + "/d").c_str(), 1);
    EXPECT_EQ(FindOnSearchPath(u"ffmpeg"), FromPath(folder.Path() / "d" / "ffmpeg"));
    setenv("PATH", (path + "/b").c_str(), 1);
    EXPECT_EQ(FindOnSearchPath(u"ffmpeg"), u"");
    setenv("PATH", "", 1);
    EXPECT_EQ(FindOnSearchPath(u"ffmpeg"), u"");
}

TEST_F(LinuxFolders, AnEmptyPartOfTheSearchPathIsTheCurrentFolder) {
    const support::TemporaryFolder folder;
    std::ofstream(folder.Path() / "zv-here") << "x";
    std::filesystem::permissions(folder.Path() / "zv-here", std::filesystem::perms::owner_all);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    setenv("PATH", "/nowhere:", 1);
    EXPECT_EQ(FindOnSearchPath(u"zv-here"), FromPath(std::filesystem::current_path() / "zv-here"));
    std::filesystem::current_path(before);
}

}  // namespace
}  // namespace zv
