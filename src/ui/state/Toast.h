// What a notification shows.
#pragma once

#include "core/Text.h"
#include "ui/kit/Icons.h"

namespace zv {

/// The icon of a notification.
using ToastKind = IconKind;

struct Toast {
    Text text;  ///< empty: no notification
    ToastKind kind = ToastKind::Replay;
    bool wrapped = false;  ///< in several lines
    bool operator==(const Toast&) const = default;
};

}  // namespace zv
