#include "stand_in/Folders.h"

namespace zv {

Text FolderOf(KnownFolder folder) {
    const stand_in::FoldersControls& folders = stand_in::TheFolders();
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

Text TemporaryFolder() { return stand_in::TheFolders().temporary; }

namespace stand_in {

FoldersControls& TheFolders() {
    static FoldersControls folders;
    return folders;
}

}  // namespace stand_in
}  // namespace zv
