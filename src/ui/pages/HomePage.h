// The main window's first page.
#pragma once

#include <cstdint>

#include "platform/Canvas.h"

namespace zv {

/// Draws the page between the columns `left` and `right`, in design pixels.
void DrawDesktopHome(Canvas& canvas, std::int32_t left, std::int32_t right);

}  // namespace zv
