// The state of a window of pages between paints. One record for the main window, one for the overlay.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "platform/Canvas.h"

namespace zv {

inline constexpr std::int32_t noTarget = -1;

/// A rectangle that can be clicked, registered by the last paint.
struct HitTarget {
    Rectangle box;  ///< design pixels
    std::function<void()> action;
    std::int32_t id = noTarget;
};

/// Paints a window's pages and registers their targets.
using PagePainter = void (*)(Canvas& canvas);

struct UiState {
    Owned<Canvas> backBuffer;    ///< null until the first paint
    std::int32_t backWidth = 0;  ///< of the back buffer, in device pixels
    std::int32_t backHeight = 0;
    std::vector<HitTarget> targets;     ///< in the order of registration
    std::int32_t hoverId = noTarget;    ///< under the mouse
    std::int32_t pressedId = noTarget;  ///< of the button that is held down
    std::int32_t focusId = noTarget;    ///< of the keyboard
    double scale = 1.0;                 ///< device pixels to a design pixel
    std::int32_t logicalWidth = 1180;   ///< design size of the client area
    std::int32_t logicalHeight = 740;
    PagePainter pages = nullptr;
    void (*afterAction)() = nullptr;  ///< called after a target was activated
};

}  // namespace zv
