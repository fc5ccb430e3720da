#include "platform/software/PixelMemory.h"

#include <cstdlib>
#include <cstring>

namespace zv {

PixelMemory AllocatePixels(std::size_t size) {
    constexpr std::size_t alignment = 64;
    const std::size_t whole = (size + alignment - 1) / alignment * alignment;
    void* bytes = std::aligned_alloc(alignment, whole);
    if (bytes == nullptr) {
        return nullptr;
    }
    std::memset(bytes, 0, whole);
    return {static_cast<std::uint8_t*>(bytes), [](std::uint8_t* memory) { std::free(memory); }};
}

}  // namespace zv
