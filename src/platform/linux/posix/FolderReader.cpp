// A folder records the type of an entry here, and no facts.
#include "platform/FolderReader.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <string_view>

#include "core/Utf8.h"

namespace zv {

struct FolderReader {
    DIR* stream = nullptr;  ///< null if the user may not read the folder
};

template <>
void Closer<FolderReader>::operator()(FolderReader* reader) const noexcept {
    if (reader->stream != nullptr) {
        closedir(reader->stream);
    }
    delete reader;
}

namespace {

bool IsFolder(DIR* stream, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN) {
        return entry.d_type == DT_DIR;
    }
    struct stat facts = {};
    return fstatat(dirfd(stream), entry.d_name, &facts, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(facts.st_mode);
}

}  // namespace

Owned<FolderReader> OpenFolder(TextView path) {
    Owned<FolderReader> reader(new FolderReader);
    reader->stream = opendir(ToUtf8(path).c_str());
    return reader->stream != nullptr || errno == EACCES ? std::move(reader) : nullptr;
}

FolderRead ReadEntry(FolderReader& reader, FolderEntry& entry) {
    while (reader.stream != nullptr) {
        errno = 0;
        const dirent* found = readdir(reader.stream);
        if (found == nullptr) {
            return errno == 0 || errno == EACCES ? FolderRead::End : FolderRead::Failed;
        }
        const std::string_view name = found->d_name;
        if (name != "." && name != "..") {
            entry = {FromUtf8(name), IsFolder(reader.stream, *found), std::nullopt};
            return FolderRead::Entry;
        }
    }
    return FolderRead::End;
}

}  // namespace zv
