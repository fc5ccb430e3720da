#include "ui/kit/Fonts.h"

#include "ui/state/UiGlobals.h"

namespace zv {

void CreateFonts() {
    for (std::size_t i = 0; i < fontRows.size(); ++i) {
        Ui().fonts[i] = MakeFont(fontRows[i].height, fontRows[i].weight);
    }
}

void DeleteFonts() {
    for (Owned<Font>& font : Ui().fonts) {
        font.reset();
    }
}

const Font* FontOf(FontRole role) {
    const Font* font = Ui().fonts[static_cast<std::size_t>(role)].get();
    return font != nullptr ? font : Ui().fonts[static_cast<std::size_t>(FontRole::Body)].get();
}

}  // namespace zv
