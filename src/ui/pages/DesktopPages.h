// The pages of the main window: a sidebar with five of them, a heading and a status strip around the one that is shown.
#pragma once

#include <cstdint>

#include "platform/Canvas.h"

namespace zv {

/// All of the main window, inside RenderUi.
void DrawMainFrame(Canvas& canvas);

/// One page, between the columns `left` and `right` in design pixels.
void DrawDesktopHome(Canvas& canvas, std::int32_t left, std::int32_t right);

}  // namespace zv
