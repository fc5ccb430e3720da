// The chip in the upper right of the captured monitor that tells a player, while a game is in front, that the capture
// is on. It lets every click through. Interface thread only.
#pragma once

#include <cstdint>

#include "platform/Window.h"

namespace zv {

/// Shows the badge over a game, or whatever else fills the captured monitor, and hides it elsewhere. Painted anew only
/// when it says something else.
void UpdateBadge();

void HideBadge();

/// From message::create to message::destroy the window is UiGlobals::badgeWindow.
std::intptr_t BadgeProc(AppWindow& window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);

}  // namespace zv
