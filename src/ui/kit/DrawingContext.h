// What all drawing of the interface shares: the pass that is under way, the theme's colour and the fonts. Interface
// thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/Canvas.h"
#include "ui/kit/Colors.h"
#include "ui/kit/UiState.h"

namespace zv {

enum class FontRole : std::size_t { Small, Body, Bold, Heading, Display };
inline constexpr std::size_t fontCount = 5;

struct DrawingContext {
    UiState* painting = nullptr;               ///< the state of the window that is being painted; null outside RenderUi
    Color accentColor = color::purple;         ///< from the theme
    std::array<Owned<Font>, fontCount> fonts;  ///< by FontRole
};

/// The one record of the process.
DrawingContext& Drawing();

}  // namespace zv
