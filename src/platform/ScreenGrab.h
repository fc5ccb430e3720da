// One picture of the desktop, written as a PNG file.
#pragma once

#include "core/Text.h"
#include "platform/Rectangle.h"
#include "platform/Result.h"

namespace zv {

/// Writes what the screen shows in `area`, in coordinates of the desktop, pixel for pixel and without the pointer.
/// Replaces the file of `path`; a failure may leave a broken one. Blocks for as long as compressing and writing take.
/// Any thread.
Result SaveScreenAsPng(const Rectangle& area, TextView path);

}  // namespace zv
