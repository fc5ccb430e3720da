// The pixels of an icon, for a window's property and for the notification area.
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
