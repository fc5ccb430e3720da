// The overlay's page of captures.
#pragma once

#include "platform/Canvas.h"

namespace zv {

void DrawOverlayGallery(Canvas& canvas);

}  // namespace zv
