// The notification that appears over the game for three seconds. There is no queue: a new one replaces the old one at
// once and has its full time. Interface thread only.
#pragma once

#include <cstdint>

#include "core/Text.h"
#include "platform/Window.h"
#include "ui/windows/ToastRules.h"

namespace zv {

inline constexpr std::uintptr_t toastTimer = 1;  ///< of the notification's window
inline constexpr std::uint32_t toastPeriodMs = 3000;

/// Shows what the words of the status call for, over the monitor that is captured. A status that calls for nothing
/// leaves what is on the screen. Nothing is shown while notifications are switched off.
void ShowToastForStatus(const Text& status);

/// At once, and its timer ends.
void HideToast();

/// From message::create to message::destroy the window is UiGlobals::toastWindow.
std::intptr_t ToastProc(AppWindow& window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);

}  // namespace zv
