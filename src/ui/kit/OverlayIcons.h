// The line icons on the overlay's buttons, about 20 design pixels wide. Which button has one follows from its id.
#pragma once

#include <cstdint>

#include "platform/Canvas.h"
#include "ui/kit/Icons.h"

namespace zv {

/// One of the big icons, centred on the canvas's origin. A control that is pressed is not black, so its icon cannot
/// come from the cache.
void DrawControlIcon(Canvas& canvas, IconKind kind, Color color, bool pressed);

enum class OverlayIconPlace { None, Left, Above };

/// Of the icon, as seen from the label.
OverlayIconPlace OverlayIconPlaceOf(std::int32_t buttonId);

struct OverlayIconState {
    bool active = false;
    bool hovered = false;
    bool pressed = false;
};
/// Centred on the canvas's origin. Nothing for a button without one.
void DrawOverlayIcon(Canvas& canvas, std::int32_t buttonId, OverlayIconState state);

}  // namespace zv
