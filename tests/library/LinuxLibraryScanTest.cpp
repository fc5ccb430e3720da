// The scan of the library with names, times and permissions that only Linux has.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/fsuid.h>
#include <sys/stat.h>

#include <limits>
#include <set>
#include <string>

#include "library/LibraryScan.h"
#include "platform/Files.h"
#include "support/FileBytes.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

/// While it exists, this thread has no access that the permissions of a file deny. For tests that run as root.
class OrdinaryUser {
public:
    OrdinaryUser() : before_(static_cast<uid_t>(setfsuid(getuid() == 0 ? nobody : getuid()))) {}
    ~OrdinaryUser() { setfsuid(before_); }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    static constexpr uid_t nobody = 65534;
    uid_t before_;
};

class LinuxLibraryScan : public testing::Test {
protected:
    void Add(const std::string& name) const {
        const fs::path path = folder_.Path() / name;
        fs::create_directories(path.parent_path());
        support::WriteBytes(path, "12345");
    }
    MediaResult Scan(const std::string& root = ".") const {
        return ScanLibrary({}, {}, {}, FromPath(folder_.Path() / root));
    }
    static std::vector<std::string> Names(const MediaResult& result) {
        std::vector<std::string> names;
        for (const MediaFile& file : result.files) {
            names.push_back(ToPath(file.path).filename().string());
        }
        return names;
    }
    void SetTime(const std::string& name, time_t seconds) const {
        const timespec times[] = {{seconds, 0}, {seconds, 0}};
        EXPECT_EQ(utimensat(AT_FDCWD, (folder_.Path() / name).c_str(), times, 0), 0);
    }

    support::TemporaryFolder folder_;
};

TEST_F(LinuxLibraryScan, AFileWhoseNameIsNotUtf8IsListedAndOpens) {
    const std::set<std::string> names = {"Z\xFCrich.mp4", "\xED\xA0\x80.mp4", "\xC3.mp4", "\xFF\xFE.PNG"};
    for (const std::string& name : names) {
        Add("G\xE4me/" + name);
    }
    std::set<std::string> found;
    for (const MediaFile& file : Scan().files) {
        EXPECT_EQ(support::ReadBytes(ToPath(file.path)), "12345");
        EXPECT_EQ(ToPath(file.game), "G\xE4me");
        found.insert(ToPath(file.path).filename().native());
    }
    EXPECT_EQ(found, names);
}

TEST_F(LinuxLibraryScan, SkipsAFolderThatItIsDenied) {
    Add("allowed/a.mp4");
    Add("denied/b.mp4");
    Add("z/c.mp4");
    fs::permissions(folder_.Path() / "denied", fs::perms::none);
    MediaResult result;
    {
        const OrdinaryUser user;
        result = Scan();
    }
    fs::permissions(folder_.Path() / "denied", fs::perms::owner_all);
    EXPECT_THAT(Names(result), testing::UnorderedElementsAre("a.mp4", "c.mp4"));
    EXPECT_EQ(result.warning, u"");
}

TEST_F(LinuxLibraryScan, SkipsADeniedRootWithoutAWarning) {
    Add("denied/b.mp4");
    fs::permissions(folder_.Path() / "denied", fs::perms::none);
    MediaResult result;
    {
        const OrdinaryUser user;
        result = Scan("denied");
    }
    fs::permissions(folder_.Path() / "denied", fs::perms::owner_all);
    EXPECT_THAT(result.files, IsEmpty());
    EXPECT_EQ(result.warning, u"");
}

TEST_F(LinuxLibraryScan, SkipsFilesWhoseFactsAreDenied) {
    Add("listed/a.mp4");
    Add("listed/folder/b.mp4");
    Add("c.mp4");
    constexpr fs::perms names = fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read;
    fs::permissions(folder_.Path() / "listed", names);
    MediaResult result;
    {
        const OrdinaryUser user;
        result = Scan();
    }
    fs::permissions(folder_.Path() / "listed", fs::perms::owner_all);
    EXPECT_THAT(Names(result), ElementsAre("c.mp4"));
    EXPECT_EQ(result.warning, u"");
}

TEST_F(LinuxLibraryScan, SkipsWhatIsNoRegularFileAndDoesNotWaitForIt) {
    Add("a.mp4");
    ASSERT_EQ(mkfifo((folder_.Path() / "fifo.mp4").c_str(), 0600), 0);
    EXPECT_THAT(Names(Scan()), ElementsAre("a.mp4"));
}

TEST_F(LinuxLibraryScan, ALinkThatLeadsNowhereDoesNotHideAFileOfAnotherCase) {
    fs::create_symlink("missing", folder_.Path() / "A.mp4");
    Add("a.mp4");
    EXPECT_THAT(Names(Scan()), ElementsAre("a.mp4"));
}

TEST_F(LinuxLibraryScan, SortsTimesOfTheFarPastAndFuture) {
    const std::pair<const char*, time_t> files[] = {
        {"2400.mp4", 13'569'465'600}, {"1969.mp4", -1}, {"1950.mp4", -631'152'000}};
    for (const auto& [name, seconds] : files) {
        Add(name);
        SetTime(name, seconds);
    }
    EXPECT_THAT(Names(Scan()), ElementsAre("2400.mp4", "1969.mp4", "1950.mp4"));
    // As late and as early as the file system stores.
    Add("late.mp4");
    SetTime("late.mp4", std::numeric_limits<time_t>::max());
    Add("early.mp4");
    SetTime("early.mp4", std::numeric_limits<time_t>::min());
    const MediaResult result = Scan();
    ASSERT_EQ(result.files.size(), 5U);
    for (std::size_t i = 1; i < result.files.size(); ++i) {
        EXPECT_GE(result.files[i - 1].modified, result.files[i].modified);
    }
}

}  // namespace
}  // namespace zv
