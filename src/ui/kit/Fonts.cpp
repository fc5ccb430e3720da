#include "ui/kit/Fonts.h"

namespace zv {
namespace {

struct FontRow {
    std::int32_t height = 0;  ///< of a line, in design pixels
    std::int32_t weight = 0;
};
/// In the order of FontRole.
constexpr std::array<FontRow, fontCount> fontRows{{{15, 400}, {17, 400}, {17, 600}, {30, 700}, {38, 700}}};

}  // namespace

void CreateFonts() {
    for (std::size_t i = 0; i < fontRows.size(); ++i) {
        Drawing().fonts[i] = MakeFont(fontRows[i].height, fontRows[i].weight);
    }
}

void DeleteFonts() {
    for (Owned<Font>& font : Drawing().fonts) {
        font.reset();
    }
}

const Font* FontOf(FontRole role) {
    const auto& fonts = Drawing().fonts;
    const Font* font = fonts[static_cast<std::size_t>(role)].get();
    return font != nullptr ? font : fonts[static_cast<std::size_t>(FontRole::Body)].get();
}

}  // namespace zv
