#include "core/AppFolders.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "fake/Environment.h"
#include "platform/Files.h"
#include "support/FileBytes.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

class DataFolders : public testing::Test {
protected:
    DataFolders() { fake::TheEnvironment() = {}; }

    static void SetLocalData(TextView value) { SetEnvironmentValue(u"LOCALAPPDATA", value); }
    static Text Slashed(TextView names) {
        Text text(names);
        for (char16_t& unit : text) {
            unit = unit == u'/' ? pathSeparator : unit;
        }
        return text;
    }
};

TEST_F(DataFolders, AreSixUnderTheVariable) {
    SetLocalData(u"base");
    const AppFolders folders = MakeAppFolders();
    EXPECT_EQ(folders.root, Slashed(u"base/ZVReelsMax"));
    EXPECT_EQ(folders.logs, Slashed(u"base/ZVReelsMax/Logs"));
    EXPECT_EQ(folders.crash, Slashed(u"base/ZVReelsMax/Crash"));
    EXPECT_EQ(folders.history, Slashed(u"base/ZVReelsMax/History"));
    EXPECT_EQ(folders.reports, Slashed(u"base/ZVReelsMax/Reports"));
    EXPECT_EQ(folders.profiles, Slashed(u"base/ZVReelsMax/Profiles"));
}

TEST_F(DataFolders, AreUnderTheCurrentDirectoryWithoutTheVariable) {
    EXPECT_EQ(MakeAppFolders().root, Slashed(u"./ZVReelsMax"));
    EXPECT_EQ(DataFolder(), Slashed(u"./ZVReelsMax"));

    const support::TemporaryFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    EXPECT_TRUE(CreateAppFolders(MakeAppFolders()));
    std::filesystem::current_path(before);
    EXPECT_TRUE(std::filesystem::is_directory(folder.Path() / "ZVReelsMax" / "Profiles"));
}

TEST_F(DataFolders, TreatAValueOf260UnitsAsMissing) {
    SetLocalData(Text(259, u'x'));
    EXPECT_EQ(MakeAppFolders().root, Text(259, u'x') + Slashed(u"/ZVReelsMax"));
    SetLocalData(Text(260, u'x'));
    EXPECT_EQ(MakeAppFolders().root, Slashed(u"./ZVReelsMax"));
}

TEST_F(DataFolders, HaveNoBaseForTheLogsWhenTheValueHas260Units) {
    SetLocalData(Text(259, u'x'));
    EXPECT_EQ(DataFolder(), Text(259, u'x') + Slashed(u"/ZVReelsMax"));
    SetLocalData(Text(260, u'x'));
    EXPECT_EQ(DataFolder(), Slashed(u"/ZVReelsMax"));
}

TEST_F(DataFolders, AreAllCreated) {
    const support::TemporaryFolder folder;
    SetLocalData(FromPath(folder.Path() / "new"));
    EXPECT_TRUE(CreateAppFolders(MakeAppFolders()));
    for (const char* name : {"Logs", "Crash", "History", "Reports", "Profiles"}) {
        EXPECT_TRUE(std::filesystem::is_directory(folder.Path() / "new" / "ZVReelsMax" / name)) << name;
    }
    EXPECT_TRUE(CreateAppFolders(MakeAppFolders())) << "a second time";
}

TEST_F(DataFolders, AreCreatedUpToTheFirstThatFails) {
    const support::TemporaryFolder folder;
    const std::filesystem::path root = folder.Path() / "ZVReelsMax";
    std::filesystem::create_directory(root);
    support::WriteBytes(root / "History", "a file in the way");
    SetLocalData(FromPath(folder.Path()));
    EXPECT_FALSE(CreateAppFolders(MakeAppFolders()));
    EXPECT_TRUE(std::filesystem::exists(root / "Logs"));
    EXPECT_TRUE(std::filesystem::exists(root / "Crash"));
    EXPECT_FALSE(std::filesystem::exists(root / "Reports"));
    EXPECT_FALSE(std::filesystem::exists(root / "Profiles"));
}

}  // namespace
}  // namespace zv
