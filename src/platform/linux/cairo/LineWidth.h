// How wide a line of text is, for what is sized by its words.
#pragma once

#include "platform/Canvas.h"

namespace zv {

/// As DrawTextInBox draws it where it fits, in units of the canvas. 0 when it cannot be told.
double WidthOfLine(const Font& font, TextView text);

}  // namespace zv
