// One picture of the desktop as it stands, written as a PNG file.
#pragma once

#include <cstdint>

#include "core/Text.h"
#include "platform/Result.h"

namespace zv {

/// Desktop coordinates, in pixels.
struct ScreenArea {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool operator==(const ScreenArea&) const = default;
};

/// Writes what the screen shows in `area`, pixel for pixel and without the pointer, over whatever `path` was. A
/// failure may leave a broken file there. Blocks for as long as compressing and writing take. Any thread.
Result SaveScreenAsPng(const ScreenArea& area, TextView path);

}  // namespace zv
