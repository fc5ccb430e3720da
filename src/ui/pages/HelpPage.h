// The main window's page of help.
#pragma once

#include <cstdint>

#include "platform/Canvas.h"

namespace zv {

/// Draws the page between the columns `left` and `right`, in design pixels.
void DrawDesktopHelp(Canvas& canvas, std::int32_t left, std::int32_t right);

}  // namespace zv
