#include "ui/kit/SmallWindow.h"

#include <algorithm>

namespace zv {

void PaintSmallWindow(AppWindow& window, const std::function<void(Canvas& canvas, const Rectangle& client)>& draw) {
    const Rectangle bounds = ClientBounds(window);
    const std::int32_t width = std::max(bounds.Width(), 1);
    const std::int32_t height = std::max(bounds.Height(), 1);
    const Owned<Canvas> canvas = MakeCanvas(width, height);
    if (!canvas) {
        PutPixels(window, nullptr, 0, 0);  // validates the window, or the system would send the message again at once
        return;
    }
    draw(*canvas, {0, 0, width, height});
    PutPixels(window, PixelsOf(*canvas).pixels, width, height);
}

std::optional<std::intptr_t> ClickThroughAnswer(std::uint32_t code) {
    switch (code) {
        case message::hitTest:
            return hitCode::transparent;
        case message::mouseActivate:
            return activateNo;
        case message::eraseBackground:
            return 1;
        default:
            return std::nullopt;
    }
}

}  // namespace zv
