// Computes the name of the folder for captures from the process in front.
//
// The name comes from a few special cases, a list of programs that are not games, and a general rule.
#pragma once

#include "core/Text.h"
#include "platform/FrontWindow.h"

namespace zv {

/// Returns the display name of a process from the full path of its image. The name is a valid folder name. "/" and "\"
/// both separate folders.
Text IdentifyProcess(TextView imagePath);

/// Converts a name to one that is valid for a folder on every file system: at most 80 units, or 85 with the "Game_"
/// before a reserved name.
Text SanitizeFolderName(Text name);

/// The name of the game in front. Empty if no window or a window of this program is in front; the caller then keeps the
/// last name.
Text ForegroundGameName(const FrontWindow& front);

/// Returns true if the capture badge is shown over this process. Has its own list, which is shorter than that of the
/// names.
bool IsKnownGame(TextView imagePath);

}  // namespace zv
