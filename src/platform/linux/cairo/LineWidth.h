// The width of a line of text, for controls that are sized by their labels.
#pragma once

#include "platform/Canvas.h"

namespace zv {

/// The width of the text as DrawTextInBox draws it if it fits, in units of the canvas. Returns 0 on failure.
double WidthOfLine(const Font& font, TextView text);

}  // namespace zv
