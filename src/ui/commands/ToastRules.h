// Which notification a status calls for, and its bounds. Decisions only.
//
// The words of the status select the notification, so no caller has to name one.
#pragma once

#include <cstdint>

#include "core/Text.h"
#include "platform/Rectangle.h"
#include "ui/state/Toast.h"

namespace zv {

/// Returns a Toast without text if the status calls for none.
Toast ToastTextForStatus(TextView status);

// The design size, which is scaled to the notification's window.
inline constexpr std::int32_t toastWidth = 330;
inline constexpr std::int32_t toastHeight = 76;

/// Below the upper right corner of a monitor's work area. At least the design size at any DPI.
Rectangle ToastBounds(const Rectangle& work, std::int32_t dpi);

}  // namespace zv
