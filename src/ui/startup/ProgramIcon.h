// The painted icon, used if the program file has none.
#pragma once

#include <cstdint>
#include <vector>

namespace zv {

/// Returns `size` rows of `size` pixels, 0xFFRRGGBB: the program's initial on its colour. Empty if there is no memory.
std::vector<std::uint32_t> PaintProgramIcon(std::int32_t size);

}  // namespace zv
