// The overlay's first page: a tile or a button for each capture command, and the replay popover below them.
#pragma once

#include "platform/Canvas.h"

namespace zv {

void DrawOverlayTiles(Canvas& canvas);

}  // namespace zv
