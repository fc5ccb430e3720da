// The scan of the library over real folders.
#include "library/LibraryScan.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <map>
#include <set>
#include <thread>
#include <utility>

#include "platform/Files.h"
#include "support/FileBytes.h"
#include "support/SelfLink.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

constexpr char16_t earlier[] = u"Earlier captures";

class LibraryScan : public testing::Test {
protected:
    /// A file of `size` bytes, last written that many minutes ago.
    void Add(const std::string& name, std::size_t size = 1, int minutesAgo = 1) {
        const fs::path path = folder_.Path() / name;
        fs::create_directories(path.parent_path());
        support::WriteBytes(path, std::string(size, 'x'));
        fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::minutes(minutesAgo));
    }
    Text At(const std::string& name) const { return FromPath((folder_.Path() / name).make_preferred()); }
    /// Scans the folder "root" as the capture root.
    MediaResult ScanRootOnly() const { return ScanLibrary({}, {}, {}, At("root")); }
    static std::vector<std::string> Names(const MediaResult& result) {
        std::vector<std::string> names;
        for (const MediaFile& file : result.files) {
            names.push_back(ToPath(file.path).filename().string());
        }
        return names;
    }
    /// The group and kind of each file, by its name.
    static std::map<std::string, std::pair<Text, std::uint32_t>> Groups(const MediaResult& result) {
        std::map<std::string, std::pair<Text, std::uint32_t>> groups;
        for (const MediaFile& file : result.files) {
            groups[ToPath(file.path).filename().string()] = {file.game, file.kind};
        }
        return groups;
    }

    support::TemporaryFolder folder_;
};

using Group = std::pair<Text, std::uint32_t>;

// What is listed.

TEST_F(LibraryScan, ListsTheSixExtensionsInAnyCase) {
    const std::set<std::string> listed = {"a.png", "b.jpg", "c.jpeg", "d.mp4", "e.mkv", "f.mov", "g.MP4", "h.JpEg"};
    for (const std::string& name : listed) {
        Add("root/" + name);
    }
    for (const char* name : {"a.avi", "a.mp4x", "amp4", ".mp4", ".png", "a.mp4.txt", "a", "a.webm", "a.gif"}) {
        Add(std::string("root/") + name);
    }
    const MediaResult result = ScanRootOnly();
    const std::vector<std::string> names = Names(result);
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()), listed);
    EXPECT_EQ(names.size(), listed.size());
    EXPECT_EQ(result.warning, u"");
}

TEST_F(LibraryScan, ExcludesRecordingsInProgressInAnyCase) {
    for (const char* name : {"ZV_Recording.mp4.partial.mp4", "A.PARTIAL.MP4", "b.Partial.mP4", ".partial.mp4"}) {
        Add(std::string("root/") + name);
    }
    for (const char* name : {"partial.mp4", "c.partial.mkv", "d.partial.png"}) {
        Add(std::string("root/") + name);
    }
    EXPECT_THAT(Names(ScanRootOnly()), UnorderedElementsAre("partial.mp4", "c.partial.mkv", "d.partial.png"));
}

TEST_F(LibraryScan, AFolderWithTheNameOfAVideoIsEnteredAndNotListed) {
    Add("root/folder.mp4/inside.mp4");
    EXPECT_THAT(Groups(ScanRootOnly()), ElementsAre(Pair("inside.mp4", Group(u"folder.mp4", mediaKind::clip))));
}

TEST_F(LibraryScan, HasThePathSizeAndTimeOfEachFile) {
    Add("root/Valorant/a.mp4", 1234, 10);
    const MediaResult result = ScanRootOnly();
    ASSERT_EQ(result.files.size(), 1U);
    const MediaFile& file = result.files[0];
    EXPECT_EQ(file.path, JoinPath(JoinPath(At("root"), u"Valorant"), u"a.mp4"));
    EXPECT_EQ(file.sizeBytes, 1234U);
    EXPECT_EQ(file.modified, ExamineFile(file.path).value_or(FileFacts{}).written);
    EXPECT_EQ(support::ReadBytes(ToPath(file.path)).size(), 1234U);
}

TEST_F(LibraryScan, PathsContinueTheTextOfTheirRoot) {
    Add("root/Valorant/a.mp4");
    const Text root = At("root") + u"/./../root/";
    const MediaResult result = ScanLibrary({}, {}, {}, root);
    ASSERT_EQ(result.files.size(), 1U);
    EXPECT_EQ(result.files[0].path, root + u"Valorant" + pathSeparator + u"a.mp4");
    EXPECT_EQ(result.files[0].game, u"Valorant");
}

TEST_F(LibraryScan, IsSortedNewestFirstAcrossAllRoots) {
    Add("root/b.mp4", 1, 20);
    Add("root/Valorant/d.png", 1, 40);
    Add("clips/a.mp4", 1, 10);
    Add("recordings/e.mp4", 1, 50);
    Add("shots/c.png", 1, 30);
    EXPECT_THAT(Names(ScanLibrary(At("clips"), At("recordings"), At("shots"), At("root"))),
                ElementsAre("a.mp4", "b.mp4", "c.png", "d.png", "e.mp4"));
}

TEST_F(LibraryScan, ListsBothOfTwoFilesWithTheSameTime) {
    const auto time = fs::file_time_type::clock::now() - std::chrono::hours(1);
    for (const char* name : {"root/a.mp4", "root/b.mp4"}) {
        Add(name);
        fs::last_write_time(folder_.Path() / name, time);
    }
    Add("root/old.mp4", 1, 90);
    const std::vector<std::string> names = Names(ScanRootOnly());
    ASSERT_EQ(names.size(), 3U);
    EXPECT_THAT(std::vector<std::string>(names.begin(), names.begin() + 2), UnorderedElementsAre("a.mp4", "b.mp4"));
    EXPECT_EQ(names[2], "old.mp4");
}

TEST_F(LibraryScan, AnEmptyFileIsListed) {
    Add("root/empty.mp4", 0);
    const MediaResult result = ScanRootOnly();
    ASSERT_EQ(result.files.size(), 1U);
    EXPECT_EQ(result.files[0].sizeBytes, 0U);
}

// Kinds and groups.

TEST_F(LibraryScan, FilesDirectlyInTheCaptureRootAreOfTheDesktop) {
    Add("root/a.mp4");
    Add("root/b.png");
    EXPECT_THAT(Groups(ScanRootOnly()), ElementsAre(Pair("a.mp4", Group(u"Desktop", mediaKind::clip)),
                                                    Pair("b.png", Group(u"Desktop", mediaKind::screenshot))));
}

TEST_F(LibraryScan, TheGroupIsTheFolderDirectlyUnderTheCaptureRoot) {
    Add("root/Valorant/a.mp4");
    Add("root/Valorant/b.png");
    Add("root/Apex Legends/Recordings/deep/c.mp4");
    EXPECT_THAT(Groups(ScanRootOnly()), ElementsAre(Pair("a.mp4", Group(u"Valorant", mediaKind::clip)),
                                                    Pair("b.png", Group(u"Valorant", mediaKind::screenshot)),
                                                    Pair("c.mp4", Group(u"Apex Legends", mediaKind::clip))));
}

TEST_F(LibraryScan, TheFoldersRecordingsAndClipsAreEarlierCaptures) {
    Add("root/Recordings/a.mp4");
    Add("root/Recordings/2025/b.mkv");
    Add("root/Recordings/c.png");
    Add("root/Clips/d.mp4");
    Add("root/Clips/e.jpg");
    EXPECT_THAT(Groups(ScanRootOnly()), ElementsAre(Pair("a.mp4", Group(earlier, mediaKind::recording)),
                                                    Pair("b.mkv", Group(earlier, mediaKind::recording)),
                                                    Pair("c.png", Group(earlier, mediaKind::screenshot)),
                                                    Pair("d.mp4", Group(earlier, mediaKind::clip)),
                                                    Pair("e.jpg", Group(earlier, mediaKind::screenshot))));
}

TEST_F(LibraryScan, FoldersOfAnotherCaseAreGames) {
    Add("root/RECORDINGS/a.mp4");
    Add("root/clips/b.mp4");
    EXPECT_THAT(Groups(ScanRootOnly()), ElementsAre(Pair("a.mp4", Group(u"RECORDINGS", mediaKind::clip)),
                                                    Pair("b.mp4", Group(u"clips", mediaKind::clip))));
}

TEST_F(LibraryScan, AVideoWithTheStemOfARecordingIsARecordingInAnyFolderAndCase) {
    Add("root/ZV_Recording_1.mp4");
    Add("root/Valorant/zv_RECORDING_2.MKV");
    Add("clips/Zv_recording.mov");
    Add("root/my ZV_Recording.mp4");
    Add("root/ZV_Recording.png");
    const auto groups = Groups(ScanLibrary(At("clips"), {}, {}, At("root")));
    EXPECT_THAT(groups, ElementsAre(Pair("ZV_Recording.png", Group(u"Desktop", mediaKind::screenshot)),
                                    Pair("ZV_Recording_1.mp4", Group(u"Desktop", mediaKind::recording)),
                                    Pair("Zv_recording.mov", Group(earlier, mediaKind::recording)),
                                    Pair("my ZV_Recording.mp4", Group(u"Desktop", mediaKind::clip)),
                                    Pair("zv_RECORDING_2.MKV", Group(u"Valorant", mediaKind::recording))));
}

TEST_F(LibraryScan, FilesOfTheOtherRootsAreEarlierCaptures) {
    Add("clips/a.mp4");
    Add("clips/Recordings/b.mp4");
    Add("recordings/c.mp4");
    Add("recordings/Valorant/d.png");
    Add("shots/e.mp4");
    Add("shots/f.png");
    EXPECT_THAT(
        Groups(ScanLibrary(At("clips"), At("recordings"), At("shots"), {})),
        ElementsAre(
            Pair("a.mp4", Group(earlier, mediaKind::clip)), Pair("b.mp4", Group(earlier, mediaKind::clip)),
            Pair("c.mp4", Group(earlier, mediaKind::recording)), Pair("d.png", Group(earlier, mediaKind::screenshot)),
            Pair("e.mp4", Group(earlier, mediaKind::clip)), Pair("f.png", Group(earlier, mediaKind::screenshot))));
}

// Roots.

TEST_F(LibraryScan, AFileBelowSeveralRootsIsListedOnceAsPartOfTheCaptureRoot) {
    Add("root/Clips/a.mp4");
    Add("root/Recordings/b.mp4");
    Add("root/Valorant/c.png");
    const MediaResult result = ScanLibrary(At("root/Clips"), At("root/Recordings"), At("root/Valorant"), At("root"));
    EXPECT_EQ(result.files.size(), 3U);
    EXPECT_THAT(Groups(result), ElementsAre(Pair("a.mp4", Group(earlier, mediaKind::clip)),
                                            Pair("b.mp4", Group(earlier, mediaKind::recording)),
                                            Pair("c.png", Group(u"Valorant", mediaKind::screenshot))));
}

TEST_F(LibraryScan, TheFirstRootThatReachesAFileWins) {
    Add("shared/a.mp4");
    const MediaResult clipsFirst = ScanLibrary(At("shared"), At("shared"), {}, {});
    EXPECT_EQ(clipsFirst.files.size(), 1U);
    EXPECT_THAT(Groups(clipsFirst), ElementsAre(Pair("a.mp4", Group(earlier, mediaKind::clip))));
    const MediaResult recordingsFirst = ScanLibrary({}, At("shared"), At("shared"), {});
    EXPECT_EQ(recordingsFirst.files.size(), 1U);
    EXPECT_THAT(Groups(recordingsFirst), ElementsAre(Pair("a.mp4", Group(earlier, mediaKind::recording))));
}

TEST_F(LibraryScan, RootsAreComparedInTheirNormalForm) {
    Add("root/a.mp4");
    fs::create_directories(folder_.Path() / "other");
    const MediaResult result =
        ScanLibrary(At("root") + u"/.", At("other") + u"/../root", At("root") + u"//", At("root"));
    EXPECT_EQ(result.files.size(), 1U);
    EXPECT_EQ(result.files[0].game, u"Desktop");
}

TEST_F(LibraryScan, EmptyAndMissingRootsAreSkippedWithoutAWarning) {
    Add("a file");
    const MediaResult result = ScanLibrary({}, At("missing"), At("a file/below"), At("missing/too"));
    EXPECT_THAT(result.files, IsEmpty());
    EXPECT_EQ(result.warning, u"");
}

TEST_F(LibraryScan, ARootThatIsAFileSetsTheWarning) {
    Add("a file");
    Add("clips/a.mp4");
    const MediaResult result = ScanLibrary(At("clips"), {}, {}, At("a file"));
    EXPECT_THAT(Names(result), ElementsAre("a.mp4"));
    EXPECT_EQ(result.warning, u"Some folders could not be read. Check Settings > Library.");
}

TEST_F(LibraryScan, ARootWhoseStatusIsUnknownSetsTheWarning) {
    support::MakeSelfLink(folder_.Path() / "link");
    const MediaResult result = ScanLibrary({}, {}, {}, At("link"));
    EXPECT_THAT(result.files, IsEmpty());
    EXPECT_EQ(result.warning, u"Some folders could not be read. Check Settings > Library.");
}

// Depth and links.

TEST_F(LibraryScan, SeesNineLevelsOfFiles) {
    std::string path = "root";
    for (int level = 1; level <= 10; ++level) {
        Add(path + "/" + std::to_string(level) + ".mp4");
        path += "/folder";
    }
    EXPECT_THAT(Names(ScanRootOnly()),
                UnorderedElementsAre("1.mp4", "2.mp4", "3.mp4", "4.mp4", "5.mp4", "6.mp4", "7.mp4", "8.mp4", "9.mp4"));
}

TEST_F(LibraryScan, ContinuesWithTheParentAfterADeepFolder) {
    for (const char* name : {"a/b/c/1.mp4", "a/b/2.mp4", "a/3.mp4", "d/4.mp4", "5.mp4", "e/f/6.mp4"}) {
        Add(std::string("root/") + name);
    }
    EXPECT_THAT(Groups(ScanRootOnly()),
                ElementsAre(Pair("1.mp4", Group(u"a", 0U)), Pair("2.mp4", Group(u"a", 0U)),
                            Pair("3.mp4", Group(u"a", 0U)), Pair("4.mp4", Group(u"d", 0U)),
                            Pair("5.mp4", Group(u"Desktop", 0U)), Pair("6.mp4", Group(u"e", 0U))));
}

TEST_F(LibraryScan, DoesNotFollowLinksToFolders) {
    Add("elsewhere/hidden.mp4");
    Add("root/Valorant/a.mp4");
    const support::SymbolicLink link("../elsewhere", folder_.Path() / "root" / "link");
    const support::SymbolicLink loop("../../root", folder_.Path() / "root" / "Valorant" / "loop");
    const support::SymbolicLink up("..", folder_.Path() / "root" / "Valorant" / "up.mp4");
    const MediaResult result = ScanRootOnly();
    EXPECT_THAT(Names(result), ElementsAre("a.mp4"));
    EXPECT_EQ(result.warning, u"");
}

TEST_F(LibraryScan, FollowsARootThatIsALink) {
    Add("elsewhere/Valorant/a.mp4");
    const support::SymbolicLink link("elsewhere", folder_.Path() / "root");
    EXPECT_THAT(Groups(ScanRootOnly()), ElementsAre(Pair("a.mp4", Group(u"Valorant", mediaKind::clip))));
}

TEST_F(LibraryScan, ALinkToAFileHasTheFactsOfTheFile) {
    Add("elsewhere/a.mp4", 300, 20);
    Add("root/b.mp4", 1, 10);
    const support::SymbolicLink link("../elsewhere/a.mp4", folder_.Path() / "root" / "link.mp4");
    const MediaResult result = ScanRootOnly();
    EXPECT_THAT(Names(result), ElementsAre("b.mp4", "link.mp4"));
    EXPECT_EQ(result.files.back().sizeBytes, 300U);
}

TEST_F(LibraryScan, SkipsLinksThatLeadNowhere) {
    Add("root/a.mp4");
    support::MakeSelfLink(folder_.Path() / "root" / "self.mp4");
    const MediaResult result = ScanRootOnly();
    EXPECT_THAT(Names(result), ElementsAre("a.mp4"));
    EXPECT_EQ(result.warning, u"");
}

// Names, sizes and times.

TEST_F(LibraryScan, FindsNamesOfAllCharacters) {
    const Text names[] = {u"Zürich – 東京.mp4", u"\U0001F3AE.mp4"};
    const fs::path game = folder_.Path() / "root" / ToPath(u"Ünïcödé");
    fs::create_directories(game);
    std::set<Text> expected;
    for (const Text& name : names) {
        support::WriteBytes(game / ToPath(name), "12345");
        expected.insert(JoinPath(FromPath(game), name));
    }
    std::set<Text> found;
    for (const MediaFile& file : ScanRootOnly().files) {
        found.insert(file.path);
        EXPECT_EQ(file.game, u"Ünïcödé");
        EXPECT_EQ(support::ReadBytes(ToPath(file.path)), "12345");
    }
    EXPECT_EQ(found, expected);
}

TEST_F(LibraryScan, FindsTheLongestName) {
    const std::string name = std::string(251, 'n') + ".mp4";
    Add("root/Valorant/" + name, 7);
    const MediaResult result = ScanRootOnly();
    EXPECT_THAT(Names(result), ElementsAre(name));
    EXPECT_EQ(result.files.at(0).sizeBytes, 7U);
}

TEST_F(LibraryScan, SortsTimesBefore1970) {
    const auto year1970 = std::chrono::file_clock::from_sys(std::chrono::sys_seconds{});
    Add("root/1990.mp4");
    Add("root/1960.mp4");
    Add("root/1950.mp4");
    for (const int year : {1950, 1960, 1990}) {
        fs::last_write_time(folder_.Path() / "root" / (std::to_string(year) + ".mp4"),
                            year1970 + std::chrono::hours(24 * 365) * (year - 1970));
    }
    const MediaResult result = ScanRootOnly();
    EXPECT_THAT(Names(result), ElementsAre("1990.mp4", "1960.mp4", "1950.mp4"));
    constexpr std::int64_t year = 365LL * 24 * 3600 * 10'000'000;
    constexpr std::int64_t from1601To1970 = 116'444'736'000'000'000;
    EXPECT_EQ(result.files.back().modified, from1601To1970 - 20 * year);
}

TEST_F(LibraryScan, ListsTenThousandFiles) {
    for (int i = 0; i < 10'000; ++i) {
        const fs::path folder = folder_.Path() / "root" / std::to_string(i % 20);
        if (i < 20) {
            fs::create_directories(folder);
        }
        std::ofstream(folder / (std::to_string(i) + ".mp4"));
    }
    const MediaResult result = ScanRootOnly();
    std::set<Text> paths;
    for (const MediaFile& file : result.files) {
        paths.insert(file.path);
    }
    EXPECT_EQ(result.files.size(), 10'000U);
    EXPECT_EQ(paths.size(), 10'000U);
    EXPECT_EQ(result.warning, u"");
}

// Changes during a scan.

TEST_F(LibraryScan, ListsAGrowingFileOnceAndItsFinalSizeAfterItIsClosed) {
    Add("root/a.mp4");
    std::ofstream file(folder_.Path() / "root" / "growing.mp4", std::ios::binary);
    for (int i = 0; i < 20; ++i) {
        file << std::string(1000, 'x') << std::flush;
        const MediaResult result = ScanRootOnly();
        EXPECT_THAT(Names(result), UnorderedElementsAre("a.mp4", "growing.mp4"));
        for (const MediaFile& found : result.files) {
            EXPECT_LE(found.sizeBytes, 1000U * static_cast<unsigned>(i + 1));
        }
    }
    file.close();
    for (const MediaFile& found : ScanRootOnly().files) {
        EXPECT_EQ(found.sizeBytes, Names({{found}, {}}).front() == "a.mp4" ? 1U : 20'000U);
    }
}

TEST_F(LibraryScan, SurvivesFoldersThatAppearAndVanish) {
    Add("root/a.mp4");
    std::atomic<bool> stop = false;
    std::thread changes([&] {
        while (!stop) {
            std::error_code ignored;
            fs::create_directories(folder_.Path() / "root" / "game" / "deep", ignored);
            std::ofstream(folder_.Path() / "root" / "game" / "deep" / "b.mp4") << "x";
            fs::remove_all(folder_.Path() / "root" / "game", ignored);
        }
    });
    for (int i = 0; i < 200; ++i) {
        const MediaResult result = ScanRootOnly();
        for (const std::string& name : Names(result)) {
            EXPECT_TRUE(name == "a.mp4" || name == "b.mp4") << name;
        }
        EXPECT_TRUE(result.warning.empty() || result.warning == u"A folder could not be completely read.");
    }
    stop = true;
    changes.join();
}

// Previous capture roots.

TEST_F(LibraryScan, PreviousRootsAreMergedAndGroupedLikeTheCaptureRoot) {
    Add("root/a.mp4", 1, 30);
    Add("old/b.mp4", 1, 10);
    Add("old/Valorant/c.mp4", 1, 40);
    Add("old/Recordings/d.mp4", 1, 20);
    Add("older/Apex Legends/e.png", 1, 50);
    const MediaResult result = ScanAllRoots({{}, {}, {}, At("root"), {At("old"), At("older")}});
    EXPECT_THAT(Names(result), ElementsAre("b.mp4", "d.mp4", "a.mp4", "c.mp4", "e.png"));
    EXPECT_THAT(Groups(result), ElementsAre(Pair("a.mp4", Group(u"Desktop", mediaKind::clip)),
                                            Pair("b.mp4", Group(u"Desktop", mediaKind::clip)),
                                            Pair("c.mp4", Group(u"Valorant", mediaKind::clip)),
                                            Pair("d.mp4", Group(earlier, mediaKind::recording)),
                                            Pair("e.png", Group(u"Apex Legends", mediaKind::screenshot))));
}

TEST_F(LibraryScan, NothingIsListedTwiceIfAPreviousRootIsTheCurrentOne) {
    Add("root/Valorant/a.mp4");
    Add("clips/b.mp4");
    const MediaResult result =
        ScanAllRoots({At("clips"), {}, {}, At("root"), {At("root"), At("clips"), At("root/Valorant"), At("root")}});
    EXPECT_EQ(result.files.size(), 2U);
    EXPECT_THAT(Groups(result), ElementsAre(Pair("a.mp4", Group(u"Valorant", mediaKind::clip)),
                                            Pair("b.mp4", Group(earlier, mediaKind::clip))));
}

TEST_F(LibraryScan, TheFirstPreviousRootThatReachesAFileWins) {
    Add("old/Valorant/a.mp4");
    EXPECT_THAT(Groups(ScanAllRoots({{}, {}, {}, {}, {At("old/Valorant"), At("old")}})),
                ElementsAre(Pair("a.mp4", Group(u"Desktop", mediaKind::clip))));
}

TEST_F(LibraryScan, AWarningOfAPreviousRootIsDropped) {
    Add("a file");
    Add("root/a.mp4");
    const MediaResult result = ScanAllRoots({{}, {}, {}, At("root"), {At("a file"), {}, At("missing")}});
    EXPECT_THAT(Names(result), ElementsAre("a.mp4"));
    EXPECT_EQ(result.warning, u"");
}

TEST_F(LibraryScan, AWarningOfTheFourFoldersIsKept) {
    Add("a file");
    Add("old/a.mp4");
    const MediaResult result = ScanAllRoots({At("a file"), {}, {}, {}, {At("old")}});
    EXPECT_THAT(Names(result), ElementsAre("a.mp4"));
    EXPECT_EQ(result.warning, u"Some folders could not be read. Check Settings > Library.");
}

}  // namespace
}  // namespace zv
