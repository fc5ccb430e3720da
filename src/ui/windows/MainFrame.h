// The contents of the main window: sidebar, heading and status strip, and the page between them.
#pragma once

#include "platform/Canvas.h"

namespace zv {

/// Draws the whole main window. Called inside RenderUi.
void DrawMainFrame(Canvas& canvas);

}  // namespace zv
