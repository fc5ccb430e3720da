// The overlay's settings page. Every control applies its change at once.
#pragma once

#include "platform/Canvas.h"

namespace zv {

void DrawOverlaySettings(Canvas& canvas);

}  // namespace zv
