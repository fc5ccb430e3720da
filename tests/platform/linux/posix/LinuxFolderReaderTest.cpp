// Folders and files of unusual file systems. The linker passes the calls of the code under test to the functions below.
#include <dirent.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cerrno>
#include <map>
#include <string>

#include "platform/Files.h"
#include "platform/FolderReader.h"
#include "support/FileBytes.h"
#include "support/TemporaryFolder.h"

extern "C" {
int __real_stat(const char* path, struct stat* facts);
dirent* __real_readdir(DIR* stream);
}

namespace zv {
namespace {

/// What the file system does differently.
struct Oddities {
    int statError = 0;     ///< of every stat
    int readdirError = 0;  ///< of the third and every later entry
    bool hasTypes = true;  ///< whether entries have a type
    int entriesRead = 0;
};

Oddities& TheOddities() {
    static Oddities oddities;
    return oddities;
}

}  // namespace
}  // namespace zv

extern "C" int __wrap_stat(const char* path, struct stat* facts) {
    if (const int error = zv::TheOddities().statError) {
        errno = error;
        return -1;
    }
    return __real_stat(path, facts);
}

extern "C" dirent* __wrap_readdir(DIR* stream) {
    zv::Oddities& oddities = zv::TheOddities();
    if (++oddities.entriesRead > 2 && oddities.readdirError != 0) {
        errno = oddities.readdirError;
        return nullptr;
    }
    dirent* entry = __real_readdir(stream);
    if (entry != nullptr && !oddities.hasTypes) {
        entry->d_type = DT_UNKNOWN;
    }
    return entry;
}

namespace zv {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::Pair;

class OddFileSystem : public testing::Test {
protected:
    OddFileSystem() {
        TheOddities() = {};
        support::WriteBytes(folder_.Path() / "file", "x");
        fs::create_directory(folder_.Path() / "folder");
        fs::create_symlink("folder", folder_.Path() / "link");
    }
    ~OddFileSystem() override { TheOddities() = {}; }
    Text Folder() const { return FromPath(folder_.Path()); }
    /// Whether each entry is a folder. `end` receives the last answer of the reader.
    std::map<Text, bool> Read(FolderRead& end) const {
        std::map<Text, bool> entries;
        const Owned<FolderReader> reader = OpenFolder(Folder());
        FolderEntry entry;
        for (end = ReadEntry(*reader, entry); end == FolderRead::Entry; end = ReadEntry(*reader, entry)) {
            entries[entry.name] = entry.isFolder;
            EXPECT_FALSE(entry.facts) << "a folder records none here";
        }
        return entries;
    }

    support::TemporaryFolder folder_;
};

TEST_F(OddFileSystem, EntriesAreTheSameWithAndWithoutTypes) {
    for (const bool hasTypes : {true, false}) {
        TheOddities().hasTypes = hasTypes;
        FolderRead end = FolderRead::Entry;
        EXPECT_THAT(Read(end), ElementsAre(Pair(u"file", false), Pair(u"folder", true), Pair(u"link", false)));
        EXPECT_EQ(end, FolderRead::End);
    }
}

TEST_F(OddFileSystem, AFolderThatCannotBeReadToItsEndFails) {
    TheOddities().readdirError = EIO;
    FolderRead end = FolderRead::Entry;
    Read(end);
    EXPECT_EQ(end, FolderRead::Failed);
}

TEST_F(OddFileSystem, AFolderThatDeniesItsEntriesIsEmpty) {
    TheOddities().readdirError = EACCES;
    FolderRead end = FolderRead::Entry;
    Read(end);
    EXPECT_EQ(end, FolderRead::End);
}

TEST_F(OddFileSystem, APathBelowADeadMountDoesNotExist) {
    EXPECT_TRUE(PathExists(Folder()));
    for (const int error : {ENOENT, ENOTDIR, ENOTCONN, ESTALE, EHOSTDOWN, EHOSTUNREACH}) {
        TheOddities().statError = error;
        EXPECT_FALSE(PathExists(Folder())) << error;
    }
    for (const int error : {EACCES, EIO, ELOOP, ENAMETOOLONG}) {
        TheOddities().statError = error;
        EXPECT_THROW(PathExists(Folder()), fs::filesystem_error) << error;
    }
}

TEST_F(OddFileSystem, AFolderThatDoesNotExistCannotBeOpened) {
    EXPECT_EQ(OpenFolder(JoinPath(Folder(), u"missing")), nullptr);
    EXPECT_EQ(OpenFolder(JoinPath(Folder(), u"file")), nullptr);
}

}  // namespace
}  // namespace zv
