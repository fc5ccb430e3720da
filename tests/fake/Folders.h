// The user's folders, wherever a test wants them. "." is what the system answers when it cannot tell.
#pragma once

#include "platform/Folders.h"

namespace zv::fake {

struct FoldersControls {
    Text videos = u".";
    Text pictures = u".";
    Text localData = u".";
    Text temporary = u".";
};

FoldersControls& TheFolders();

}  // namespace zv::fake
