// The program's own picture, for where it carries no icon.
#pragma once

#include <cstdint>
#include <vector>

namespace zv {

/// The name's initial on the brand's colour: `size` rows of as many pixels, 0xFFRRGGBB. Empty when it cannot be
/// painted.
std::vector<std::uint32_t> PaintProgramIcon(std::int32_t size);

}  // namespace zv
