// The line icons on the overlay's buttons, about 20 design pixels wide. Which button has one follows from its id.
#pragma once

#include <cstdint>

#include "platform/Canvas.h"

namespace zv {

enum class OverlayIconPlace { None, Left, Above };

/// Of the icon, as seen from the label.
OverlayIconPlace OverlayIconPlaceOf(std::int32_t buttonId);

struct OverlayIconState {
    bool active = false;
    bool hovered = false;
};
/// Centred on the canvas's origin. Nothing for a button without one.
void DrawOverlayIcon(Canvas& canvas, std::int32_t buttonId, OverlayIconState state);

}  // namespace zv
