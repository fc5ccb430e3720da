// The five fonts of the interface, made once at the start and released at the exit.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/Canvas.h"

namespace zv {

enum class FontRole : std::size_t { Small, Body, Bold, Heading, Display };

struct FontRow {
    std::int32_t height = 0;  ///< of a line, in design pixels
    std::int32_t weight = 0;
};
/// In the order of FontRole.
inline constexpr std::array<FontRow, 5> fontRows{{{15, 400}, {17, 400}, {17, 600}, {30, 700}, {38, 700}}};

using Fonts = std::array<Owned<Font>, fontRows.size()>;

void CreateFonts();
void DeleteFonts();

/// The body font stands in for one that could not be made. Null when that is missing as well.
const Font* FontOf(FontRole role);

}  // namespace zv
