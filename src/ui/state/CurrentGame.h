// The game in front, and the folder of its captures. Interface thread.
#pragma once

#include "core/Text.h"

namespace zv {

/// Stores the name of the game in front in UiGlobals::gameName, unless it is unknown.
void RefreshGameName();

/// Refreshes the name and returns the folder for a capture of that game. Does not create it.
Text CurrentGameFolder();

}  // namespace zv
