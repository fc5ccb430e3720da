// The format of a video stream.
#pragma once

#include <cstdint>

namespace zv {

struct VideoFormat {
    std::uint32_t width = 0;  ///< output size in pixels
    std::uint32_t height = 0;
    std::uint32_t fps = 0;  ///< 30, 60, 120 or 240
    std::uint32_t bitrateMbps = 0;
};

}  // namespace zv
