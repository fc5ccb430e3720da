// The user's folders, as a test sets them. "." is the value of a folder that the system does not have.
#pragma once

#include "platform/Folders.h"

namespace zv::fake {

struct FoldersControls {
    Text videos = u".";
    Text pictures = u".";
    Text localData = u".";
    Text cache = u".";
};

FoldersControls& TheFolders();

}  // namespace zv::fake
