// The user's folders. Any thread.
#pragma once

#include "core/Text.h"

namespace zv {

enum class KnownFolder { Videos, Pictures, LocalData };

/// The user's folder without a separator at its end; "." if the system has none.
Text FolderOf(KnownFolder folder);

/// The user's folder for files that can be lost, without a separator at its end; it may not exist yet. Windows: the
/// temporary folder. Linux: XDG_CACHE_HOME, which is on a disk, and whose content the system does not remove.
Text CacheFolder();

/// Creates the folder and its parents. On Linux only the user can access the folder afterwards. Returns false if that
/// fails, or if the name belongs to a link, to a file or to the folder of another user.
bool CreatePrivateFolder(TextView folder);

}  // namespace zv
