// The record of an icon: pixels for a window's property or for the notification area.
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
