// The user's own choice of folders, as the desktop writes it down in "user-dirs.dirs".
#pragma once

#include <string>
#include <string_view>

namespace zv {

/// The folder that `content` gives for `key` ("XDG_VIDEOS_DIR"), without a separator at its end; empty when there is
/// none. The last valid line counts. A valid value is quoted and starts with "/" or "$HOME"; a backslash in front of a
/// character stands for that character.
std::string UserFolderFrom(std::string_view content, std::string_view key, std::string_view home);

}  // namespace zv
