// The main window's procedure: the heart of the interface thread.
//
// It owns the two timers that drive all that happens without input, receives the hot keys, collects the results of the
// background jobs, and decides what closing the window means.
#pragma once

#include "platform/Window.h"

namespace zv {

inline constexpr char16_t mainWindowClass[] = u"ZVReelsMainV3";

std::intptr_t MainProc(AppWindow& window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);

/// Brings the main window up from wherever it is, in front and with the focus.
void ShowMainWindow();

/// Ends the program in its ordinary way, whatever the close box means: hides the main window and destroys it.
void ExitProgram();

}  // namespace zv
