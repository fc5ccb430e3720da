// One picture of the desktop, written as a PNG file.
#pragma once

#include "core/Text.h"
#include "platform/Rectangle.h"
#include "platform/Result.h"

namespace zv {

/// Writes the content of the screen in `area`, in coordinates of the desktop, pixel for pixel and without the pointer.
/// Replaces the file at `path`; a failure may leave a broken file. Blocks while it compresses and writes. Any thread.
Result SaveScreenAsPng(const Rectangle& area, TextView path);

}  // namespace zv
