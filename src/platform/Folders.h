// The user's folders. Any thread.
#pragma once

#include "core/Text.h"

namespace zv {

enum class KnownFolder { Videos, Pictures, LocalData };

/// The user's folder without a separator at its end, or "." if the system does not know it.
Text FolderOf(KnownFolder folder);

/// The user's temporary folder, without a separator at its end.
Text TemporaryFolder();

}  // namespace zv
