// Which notification a status calls for, and where it goes. Decisions only.
//
// No notification is designed case by case: it follows from the words of the status, so that a part of the program
// that words a message well gets the right one for free.
#pragma once

#include <cstdint>

#include "core/Text.h"
#include "platform/Rectangle.h"

namespace zv {

/// The icon of a notification, in the numbers of IconKind.
enum class ToastKind : std::int32_t { Replay = 0, Record = 1, Camera = 4 };

struct Toast {
    Text text;  ///< empty: the status calls for none
    ToastKind kind = ToastKind::Replay;
    bool operator==(const Toast&) const = default;
};

Toast ToastTextForStatus(TextView status);

// The design that is scaled into the notification's window.
inline constexpr std::int32_t toastWidth = 330;
inline constexpr std::int32_t toastHeight = 76;

/// Under the upper right corner of a monitor's work area. Never smaller than the design, whatever the DPI.
Rectangle ToastPlace(const Rectangle& work, std::int32_t dpi);

}  // namespace zv
