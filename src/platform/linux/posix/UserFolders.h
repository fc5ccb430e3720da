// The user's folders, as the desktop stores them in "user-dirs.dirs".
#pragma once

#include <string>
#include <string_view>

namespace zv {

/// The folder of `key` ("XDG_VIDEOS_DIR") in the file's `content`, without a separator at its end; empty if there is
/// none. The last valid line counts. A valid value is quoted and starts with "/" or "$HOME"; a backslash escapes the
/// character after it.
std::string UserFolderFrom(std::string_view content, std::string_view key, std::string_view home);

}  // namespace zv
