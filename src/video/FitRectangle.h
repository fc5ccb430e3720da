// Where a desktop of one size lands in a frame of another: scaled to fit, proportions kept, centred, sides even.
#pragma once

#include <cstdint>

#include "platform/DesktopCapture.h"

namespace zv {

struct PixelSize {
    std::int32_t width = 0;
    std::int32_t height = 0;
};

/// Both sizes positive. What the answer leaves of the frame stays black.
Rectangle FitRectangle(PixelSize source, PixelSize frame);

}  // namespace zv
