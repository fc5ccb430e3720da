// The memory of a picture. It has shared ownership: the last owner releases it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace zv {

using PixelMemory = std::shared_ptr<std::uint8_t[]>;

/// Allocates zeroed memory that is aligned to a cache line. Returns null if there is not enough memory.
PixelMemory AllocatePixels(std::size_t size);

}  // namespace zv
