// The icon in the notification area and its menu, through which the program is reached while its window is hidden.
// Interface thread.
#pragma once

#include <cstdint>

#include "platform/Window.h"

namespace zv {

inline constexpr std::uint32_t trayMessage = 0x8016;  ///< to the main window, with the event in lParam

/// Adds the icon anew, after the area has come back too. A failure leaves the program without one, which is no reason
/// to say anything.
void ShowTrayIcon(AppWindow& mainWindow);
void RemoveTrayIcon();

/// The answer to trayMessage: a click opens the menu, a double click the main window.
void HandleTrayMessage(AppWindow& mainWindow, std::intptr_t lParam);

}  // namespace zv
