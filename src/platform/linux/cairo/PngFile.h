// Writes PNG files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/Result.h"

namespace zv {

struct Pixels {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> rgb;  ///< 3 bytes a pixel, rows from the top without padding
};

/// Replaces the file at `path`. A failure may leave a broken file.
Result WritePng(const Pixels& pixels, const std::string& path);

}  // namespace zv
