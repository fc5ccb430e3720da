// The game in front, and the folder of its captures. Interface thread.
#pragma once

#include "core/Text.h"
#include "platform/FrontWindow.h"

namespace zv {

/// Stores the name of the game in front in UiGlobals::gameName, unless it is unknown.
void RefreshGameName(const FrontWindow& front);

/// Looks up the window in front, refreshes the name and returns the folder for a capture of that game. Does not create
/// it.
Text CurrentGameFolder();

}  // namespace zv
