#include "fake/Folders.h"

#include <filesystem>
#include <system_error>

#include "platform/Files.h"

namespace zv {

Text FolderOf(KnownFolder folder) {
    const fake::FoldersControls& folders = fake::TheFolders();
    switch (folder) {
        case KnownFolder::Videos:
            return folders.videos;
        case KnownFolder::Pictures:
            return folders.pictures;
        case KnownFolder::LocalData:
            break;
    }
    return folders.localData;
}

Text CacheFolder() { return fake::TheFolders().cache; }

bool CreatePrivateFolder(TextView folder) {
    std::error_code error;
    std::filesystem::create_directories(ToPath(folder), error);
    return !error;
}

namespace fake {

FoldersControls& TheFolders() {
    static FoldersControls folders;
    return folders;
}

}  // namespace fake
}  // namespace zv
