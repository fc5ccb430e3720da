#include "fake/Folders.h"

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

Text TemporaryFolder() { return fake::TheFolders().temporary; }

namespace fake {

FoldersControls& TheFolders() {
    static FoldersControls folders;
    return folders;
}

}  // namespace fake
}  // namespace zv
