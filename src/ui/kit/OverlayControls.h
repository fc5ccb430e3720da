// The two kinds of control that only the overlay has: black boxes with a purple frame in every theme.
#pragma once

#include <cstdint>
#include <functional>

#include "core/Text.h"
#include "platform/Canvas.h"
#include "ui/kit/Icons.h"
#include "ui/kit/OverlayIcons.h"
#include "ui/kit/UiState.h"

namespace zv {

struct OverlayButton {
    std::int32_t id = noTarget;
    Rectangle box = {};
    Text label = {};
    OverlayIcon icon = OverlayIcon::None;
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
    bool enabled = true;  ///< false: not registered, and framed like a hovered one
};
void DrawOverlayTile(Canvas& canvas, OverlayTile tile);

}  // namespace zv
