// The main window's procedure: timers, hot keys, results of background jobs, the close box and the shutdown.
#pragma once

#include "platform/Window.h"

namespace zv {

inline constexpr char16_t mainWindowClass[] = u"ZVReelsMainV3";

std::intptr_t MainProc(AppWindow& window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);

/// Ends the program even if the close box only hides the main window: hides the window and destroys it.
void ExitProgram();

/// Completes the shutdown after the message loop, if the main window could not be created or its shutdown broke off:
/// waits for the jobs, stops the engine, saves the settings and removes the session marker.
void EndWithoutMainWindow();

}  // namespace zv
