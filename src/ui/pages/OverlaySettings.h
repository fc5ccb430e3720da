// The overlay's settings page. Every control works at once: there is nothing to confirm.
#pragma once

#include "platform/Canvas.h"

namespace zv {

/// Paints the page into the overlay's 1010 by 568 design pixels and registers its targets.
void DrawOverlaySettings(Canvas& canvas);

}  // namespace zv
