#include "ui/startup/ProgramIcon.h"

#include "platform/Canvas.h"

namespace zv {

std::vector<std::uint32_t> PaintProgramIcon(std::int32_t size) {
    const Owned<Canvas> canvas = MakeCanvas(size, size);
    if (!canvas) {
        return {};
    }
    const Rectangle all{0, 0, size, size};
    FillBox(*canvas, all, Rgb(133, 83, 231));
    if (const Owned<Font> font = MakeFont(2 * size / 3, 700)) {
        DrawTextInBox(*canvas, all, u"Z", Rgb(255, 255, 255), *font, TextLayout::CentredLine);
    }
    const PixelView view = PixelsOf(*canvas);
    std::vector<std::uint32_t> pixels(view.pixels, view.pixels + static_cast<std::ptrdiff_t>(size) * size);
    for (std::uint32_t& pixel : pixels) {
        pixel |= 0xFF000000U;
    }
    return pixels;
}

}  // namespace zv
