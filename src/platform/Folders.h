// The user's folders. Any thread.
#pragma once

#include "core/Text.h"

namespace zv {

enum class KnownFolder { Videos, Pictures, LocalData };

/// The user's folder without a separator at its end; "." if the system has none.
Text FolderOf(KnownFolder folder);

/// The user's temporary folder, without a separator at its end.
Text TemporaryFolder();

}  // namespace zv
