// The line icons on the overlay's buttons, about 20 design pixels wide.
#pragma once

#include "platform/Canvas.h"
#include "ui/kit/Icons.h"

namespace zv {

enum class OverlayIcon { None, Window, Picture, Microphone, Speaker, Gear };

/// Whether the icon is above its button's label or to the left of it.
bool IsAboveLabel(OverlayIcon icon);

struct OverlayIconState {
    bool active = false;
    bool hovered = false;
    bool pressed = false;
};
/// Centred on the canvas's origin.
void DrawOverlayIcon(Canvas& canvas, OverlayIcon icon, OverlayIconState state);

/// Draws one of the large icons, centred on the canvas's origin. A pressed control is not black, so its icon cannot
/// come from the cache.
void DrawControlIcon(Canvas& canvas, IconKind kind, Color color, bool pressed);

}  // namespace zv
