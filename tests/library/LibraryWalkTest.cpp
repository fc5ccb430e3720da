// The scan of the library over folders in memory: failures, and the calls that a scan makes.
#include <gmock/gmock.h>

#include "fake/Calls.h"
#include "fake/FolderReader.h"
#include "library/LibraryScan.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using fake::CountOf;
using fake::TheFolderEntries;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char16_t rootWarning[] = u"Some folders could not be read. Check Settings > Library.";
constexpr char16_t walkWarning[] = u"A folder could not be completely read.";

/// A file whose facts the folder records. `written` also orders the files.
FolderEntry File(TextView name, std::int64_t written) { return {Text(name), false, FileFacts{7, written}}; }
FolderEntry Folder(TextView name) { return {Text(name), true, std::nullopt}; }

class LibraryWalk : public testing::Test {
protected:
    LibraryWalk() {
        fake::ResetCalls();
        TheFolderEntries().clear();
    }
    ~LibraryWalk() override {
        EXPECT_EQ(fake::OpenFolderReaders(), 0);
        TheFolderEntries().clear();
        fake::ResetCalls();
    }
    /// A root must exist for a scan to open it.
    Text Root(TextView name) const {
        const Text path = JoinPath(FromPath(folder_.Path()), name);
        std::filesystem::create_directories(ToPath(path));
        return path;
    }
    static std::vector<Text> Names(const MediaResult& result) {
        std::vector<Text> names;
        for (const MediaFile& file : result.files) {
            names.push_back(FromPath(ToPath(file.path).filename()));
        }
        return names;
    }

    support::TemporaryFolder folder_;
    const Text root_ = Root(u"root");
};

TEST_F(LibraryWalk, UsesTheFactsThatTheFolderRecords) {
    TheFolderEntries()[root_] = {File(u"a.mp4", 5)};  // there is no such file to examine
    const MediaResult result = ScanLibrary({}, {}, {}, root_);
    ASSERT_EQ(result.files.size(), 1U);
    EXPECT_EQ(result.files[0].sizeBytes, 7U);
    EXPECT_EQ(result.files[0].modified, 5);
}

TEST_F(LibraryWalk, SkipsAFileThatCannotBeExamined) {
    TheFolderEntries()[root_] = {{u"a.mp4", false, std::nullopt}, File(u"b.mp4", 1)};
    const MediaResult result = ScanLibrary({}, {}, {}, root_);
    EXPECT_THAT(Names(result), ElementsAre(u"b.mp4"));
    EXPECT_EQ(result.warning, u"");
}

TEST_F(LibraryWalk, AFailureEndsItsRootWithoutTheEntryBeforeIt) {
    TheFolderEntries()[root_] = {File(u"a.mp4", 9), File(u"b.mp4", 8), File(u"c.mp4", 7), File(u"d.mp4", 6)};
    TheFolderEntries()[Root(u"clips")] = {File(u"e.mp4", 5)};
    fake::FailCall("ReadEntry", 4, -1);
    const MediaResult result = ScanLibrary(Root(u"clips"), {}, {}, root_);
    EXPECT_THAT(Names(result), ElementsAre(u"a.mp4", u"b.mp4", u"e.mp4"));
    EXPECT_EQ(result.warning, walkWarning) << "a root without a problem leaves it";
}

TEST_F(LibraryWalk, AFolderThatVanishesEndsItsRoot) {
    TheFolderEntries()[root_] = {File(u"a.mp4", 9), Folder(u"vanished"), File(u"b.mp4", 8)};
    const MediaResult result = ScanLibrary({}, {}, {}, root_);
    EXPECT_THAT(Names(result), ElementsAre(u"a.mp4"));
    EXPECT_EQ(result.warning, walkWarning);
}

TEST_F(LibraryWalk, AFailureInASubfolderEndsTheWholeRoot) {
    TheFolderEntries()[root_] = {Folder(u"Valorant"), File(u"b.mp4", 8)};
    TheFolderEntries()[JoinPath(root_, u"Valorant")] = {File(u"a.mp4", 9), File(u"c.mp4", 9)};
    fake::FailCall("ReadEntry", 4, -1);  // the end of the subfolder
    const MediaResult result = ScanLibrary({}, {}, {}, root_);
    EXPECT_THAT(Names(result), ElementsAre(u"a.mp4"));
    EXPECT_EQ(result.warning, walkWarning);
}

TEST_F(LibraryWalk, ARootThatCannotBeOpenedIsLeftForTheNext) {
    TheFolderEntries()[Root(u"clips")] = {File(u"a.mp4", 5)};
    const MediaResult result = ScanLibrary(Root(u"clips"), {}, {}, root_);
    EXPECT_THAT(Names(result), ElementsAre(u"a.mp4"));
    EXPECT_EQ(result.warning, rootWarning);
}

TEST_F(LibraryWalk, ARootWhoseFirstEntryCannotBeReadCountsAsNotOpened) {
    TheFolderEntries()[root_] = {File(u"a.mp4", 5)};
    fake::FailCall("ReadEntry", 1, -1);
    const MediaResult result = ScanLibrary({}, {}, {}, root_);
    EXPECT_THAT(result.files, IsEmpty());
    EXPECT_EQ(result.warning, rootWarning);
}

TEST_F(LibraryWalk, TheLastWarningSurvives) {
    TheFolderEntries()[root_] = {Folder(u"vanished")};
    EXPECT_EQ(ScanLibrary(Root(u"clips"), {}, {}, root_).warning, rootWarning);
    TheFolderEntries().clear();
    TheFolderEntries()[Root(u"shots")] = {Folder(u"vanished")};
    EXPECT_EQ(ScanLibrary({}, {}, Root(u"shots"), root_).warning, walkWarning);
}

TEST_F(LibraryWalk, WalksTheRootsInTheirOrder) {
    for (const TextView name : {u"root", u"clips", u"recordings", u"shots", u"old"}) {
        TheFolderEntries()[Root(name)] = {};
    }
    ScanAllRoots({Root(u"clips"), Root(u"recordings"), Root(u"shots"), root_, {Root(u"old")}});
    std::vector<std::string> opened = fake::CallLog();
    std::erase(opened, "ReadEntry");
    EXPECT_THAT(opened, ElementsAre("OpenFolder root", "OpenFolder clips", "OpenFolder recordings", "OpenFolder shots",
                                    "OpenFolder old"));
}

TEST_F(LibraryWalk, EntersFoldersToADepthOfEight) {
    Text path = root_;
    for (const char16_t name : TextView(u"0123456789")) {
        TheFolderEntries()[path] = {Folder(Text(1, name))};
        path = JoinPath(path, Text(1, name));
    }
    const MediaResult result = ScanLibrary({}, {}, {}, root_);
    EXPECT_EQ(CountOf("OpenFolder"), 9);  // the root, and the folders at the depths 0 to 7
    EXPECT_EQ(fake::CallLog().back(), "ReadEntry");
    EXPECT_EQ(result.warning, u"");
}

TEST_F(LibraryWalk, AnExceptionLeavesNoFolderOpen) {
    TheFolderEntries()[root_] = {Folder(u"Valorant")};
    TheFolderEntries()[JoinPath(root_, u"Valorant")] = {File(u"a.mp4", 1)};
    fake::ThrowInCall("ReadEntry", 3);
    EXPECT_THROW(ScanLibrary({}, {}, {}, root_), std::bad_alloc);
}

}  // namespace
}  // namespace zv
