// The two kinds of control that only the overlay has: black boxes with a purple frame, whatever the theme.
#pragma once

#include <cstdint>
#include <functional>

#include "core/Text.h"
#include "platform/Canvas.h"
#include "ui/kit/Icons.h"
#include "ui/kit/UiState.h"

namespace zv {

/// Some ids have a line icon: OverlayIcons.h.
struct OverlayButton {
    std::int32_t id = noTarget;
    Rectangle box = {};
    Text label = {};
    std::function<void()> action = {};
    bool active = false;
    bool enabled = true;  ///< false: not registered
};
void DrawOverlayButton(Canvas& canvas, OverlayButton button);

struct OverlayTile {
    std::int32_t id = noTarget;
    Rectangle box = {};
    Text title = {};
    Text status = {};
    IconKind icon = IconKind::Replay;
    std::function<void()> action = {};
    bool active = false;
    bool enabled = true;  ///< false: not registered, and framed as if the mouse were over it
};
void DrawOverlayTile(Canvas& canvas, OverlayTile tile);

}  // namespace zv
