// What a notification shows.
#pragma once

#include "core/Text.h"
#include "ui/kit/Icons.h"

namespace zv {

struct Toast {
    Text text;  ///< empty: no notification
    IconKind icon = IconKind::Replay;
    bool operator==(const Toast&) const = default;
};

}  // namespace zv
