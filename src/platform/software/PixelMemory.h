// The memory of a picture. Everybody who uses it holds it; the last holder releases it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace zv {

using PixelMemory = std::shared_ptr<std::uint8_t[]>;

/// Zeroed, and aligned to a cache line. Null if there is no memory.
PixelMemory AllocatePixels(std::size_t size);

}  // namespace zv
