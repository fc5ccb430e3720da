// The badge in the upper right corner of the captured monitor. It shows, over a game, that the capture is on. Mouse
// clicks pass through it. Interface thread only.
#pragma once

#include <cstdint>

#include "platform/FrontWindow.h"
#include "platform/Window.h"

namespace zv {

/// Shows the badge over a game, or over any window that fills the captured monitor, and hides it otherwise. Repaints it
/// only if its state has changed.
void UpdateBadge(const FrontWindow& front);

/// Sets UiGlobals::badgeWindow at message::create and clears it at message::destroy.
std::intptr_t BadgeProc(AppWindow& window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);

}  // namespace zv
