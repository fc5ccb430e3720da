// The notification that is shown over the game for three seconds. There is no queue: a new one replaces the old one and
// restarts the time. Interface thread only.
#pragma once

#include <cstdint>

#include "core/Text.h"
#include "ui/state/Toast.h"

namespace zv {

inline constexpr std::uintptr_t toastTimer = 1;  ///< of the notification's window
inline constexpr std::uint32_t toastPeriodMs = 3000;

/// Shows the notification for a status on the captured monitor. Changes nothing if the status calls for none, or while
/// notifications are disabled.
void ShowToastForStatus(const Text& status);

/// Shows a notification on the captured monitor, unless notifications are disabled.
void ShowToast(Toast toast);

bool IsToastShown();

/// Hides the notification and stops its timer.
void HideToast();

}  // namespace zv
