// What an icon is on X11: pixels that a window's property or the notification area's host is given.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/AppIcon.h"

namespace zv {

struct AppIcon {
    int size = 0;
    std::vector<std::uint32_t> pixels;  ///< 0xAARRGGBB, opaque
};

}  // namespace zv
