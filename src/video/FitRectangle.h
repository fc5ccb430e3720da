// The rectangle of a desktop of one size in a frame of another: scaled to fit, proportions kept, centred, sides even.
#pragma once

#include <cstdint>

#include "platform/DesktopCapture.h"

namespace zv {

struct PixelSize {
    std::int32_t width = 0;
    std::int32_t height = 0;
};

/// Both sizes positive. The rest of the frame stays black.
Rectangle FitRectangle(PixelSize source, PixelSize frame);

}  // namespace zv
