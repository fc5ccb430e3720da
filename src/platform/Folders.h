// The user's folders.
#pragma once

#include "core/Text.h"

namespace zv {

enum class KnownFolder { Videos, Pictures, LocalData };

/// The user's folder without a separator at its end, or "." when the system cannot tell.
Text FolderOf(KnownFolder folder);

/// The user's temporary folder, without a separator at its end.
Text TemporaryFolder();

}  // namespace zv
