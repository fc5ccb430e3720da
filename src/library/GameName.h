// From the process in front to the name of the folder that its captures go to.
//
// There is no database of games: a few special cases, a list of programs that are no games, and a general rule.
#pragma once

#include "core/Text.h"
#include "platform/FrontWindow.h"

namespace zv {

/// The display name for the full path of a process's image, safe as a folder name. "/" and "\" both separate.
Text IdentifyProcess(TextView imagePath);

/// A name that every file system takes as a folder: at most 80 units, 85 with the "Game_" of a reserved name.
Text SanitizeFolderName(Text name);

/// The name of the game in front. Empty if nothing or a window of this program is in front, and the last name stays.
Text ForegroundGameName(const FrontWindow& front);

/// Whether the capture badge shows over this process. A list of its own, narrower than the naming rules.
bool IsKnownGame(TextView imagePath);

}  // namespace zv
