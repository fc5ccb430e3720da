// The list of clips at start-up, with real folders.
#include "library/ClipList.h"

#include <gmock/gmock.h>

#include <chrono>
#include <fstream>

#include "platform/Files.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

class ClipListing : public testing::Test {
protected:
    ClipListing() { CurrentClipList() = {}; }
    /// A file of `size` bytes, last written that many minutes ago.
    void Add(const std::string& name, std::size_t size, int minutesAgo) {
        const fs::path path = folder_.Path() / name;
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << std::string(size, 'x');
        fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::minutes(minutesAgo));
    }
    void Refresh(const std::string& clips, const std::string& recordings) {
        RefreshClipList(FromPath(folder_.Path() / clips), FromPath(folder_.Path() / recordings));
    }
    static std::vector<std::string> Names() {
        std::vector<std::string> names;
        for (const ClipRow& row : CurrentClipList().rows) {
            names.push_back(ToPath(row.path).filename().string());
        }
        return names;
    }

    support::TemporaryFolder folder_;
};

TEST_F(ClipListing, HoldsTheVideosOfBothFoldersNewestFirst) {
    Add("clips/old.mp4", 5, 30);
    Add("clips/new.mkv", 6, 10);
    Add("recordings/middle.mov", 7, 20);
    Refresh("clips", "recordings");
    EXPECT_THAT(Names(), ElementsAre("new.mkv", "middle.mov", "old.mp4"));
    EXPECT_EQ(CurrentClipList().rows[1].size, 7U);
    EXPECT_EQ(CurrentClipList().rows[1].path, FromPath(folder_.Path() / "recordings" / "middle.mov"));
}

TEST_F(ClipListing, ListsOnlyTheThreeExtensionsInLowerCase) {
    const char* names[] = {"a.MP4", "a.Mkv", "a.avi", "a.mp4x", "a", "amp4", ".mp4", "a.mp4.txt"};
    for (const char* name : names) {
        Add(std::string("clips/") + name, 1, 1);
    }
    Add("clips/yes.mp4", 1, 1);
    Refresh("clips", "recordings");
    EXPECT_THAT(Names(), ElementsAre("yes.mp4"));
}

TEST_F(ClipListing, ExcludesFilesThatAreBeingWritten) {
    Add("clips/ZV_Replay.partial.mp4", 1, 1);
    Add("clips/ZV_Replay.partial.mkv", 1, 2);
    Add("clips/partial.mp4", 1, 3);
    Refresh("clips", "recordings");
    EXPECT_THAT(Names(), ElementsAre("ZV_Replay.partial.mkv", "partial.mp4"));
}

TEST_F(ClipListing, NeitherEntersNorListsFolders) {
    Add("clips/deep/inside.mp4", 1, 1);
    fs::create_directories(folder_.Path() / "clips" / "folder.mp4");
    Refresh("clips", "recordings");
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(ClipListing, ListsTheFolderOnceIfClipsAndRecordingsShareIt) {
    Add("clips/a.mp4", 1, 1);
    Refresh("clips", "clips");
    EXPECT_THAT(Names(), ElementsAre("a.mp4"));
    Refresh("clips", "clips/.");  // another text is another folder
    EXPECT_THAT(Names(), ElementsAre("a.mp4", "a.mp4"));
}

TEST_F(ClipListing, AMissingFolderIsEmpty) {
    Add("recordings/a.mp4", 1, 1);
    Refresh("missing", "recordings");
    EXPECT_THAT(Names(), ElementsAre("a.mp4"));
    Refresh("missing", "missing too");
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(ClipListing, TheSelectionStaysWithinTheRows) {
    Add("clips/a.mp4", 1, 1);
    Add("clips/b.mp4", 1, 2);
    CurrentClipList().selected = 1;
    Refresh("clips", "recordings");
    EXPECT_EQ(CurrentClipList().selected, 1U);
    CurrentClipList().selected = 9;
    Refresh("clips", "recordings");
    EXPECT_EQ(CurrentClipList().selected, 1U);
    Refresh("missing", "recordings");
    EXPECT_EQ(CurrentClipList().selected, 0U);
}

}  // namespace
}  // namespace zv
