// The icon in the notification area and its menu. Interface thread.
#pragma once

#include <cstdint>

#include "platform/Window.h"

namespace zv {

inline constexpr std::uint32_t trayMessage = 0x8016;  ///< to the main window, with the event in lParam

/// Adds the icon, or adds it again after the notification area was recreated. A failure is not reported. A main window
/// that was put away is hidden while there is an icon, and minimized while there is none.
void ShowTrayIcon(AppWindow& mainWindow);
void RemoveTrayIcon();

/// Hides the main window, or minimizes it while there is no icon that shows it again.
void PutMainWindowAway(AppWindow& mainWindow);

/// Handles trayMessage: a click opens the menu, a double click the main window.
void HandleTrayMessage(AppWindow& mainWindow, std::uintptr_t wParam, std::intptr_t lParam);

}  // namespace zv
