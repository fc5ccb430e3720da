// The overlay's page for what has been captured.
#pragma once

#include "platform/Canvas.h"

namespace zv {

void DrawOverlayGallery(Canvas& canvas);

}  // namespace zv
