// The overlay's first page: a tile or a button for everything that a player wants at once, and the popover of the
// replay below them.
#pragma once

#include "platform/Canvas.h"

namespace zv {

void DrawOverlayTiles(Canvas& canvas);

}  // namespace zv
