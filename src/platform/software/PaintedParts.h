// The shape of a window with a colour key: the parts of its picture that are not transparent.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/Canvas.h"
#include "platform/Rectangle.h"

namespace zv {

/// Returns the pixels that do not have the colour `key` (0x00RRGGBB) as rectangles that do not overlap. They form bands
/// from the top: the rectangles of a band have the same rows, do not touch, and are sorted from left to right.
std::vector<Rectangle> PaintedParts(const PixelView& picture, std::uint32_t key);

}  // namespace zv
