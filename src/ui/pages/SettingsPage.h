// The main window's page of settings: the ways into the overlay's settings, and what concerns the program as a whole.
#pragma once

#include <cstdint>

#include "platform/Canvas.h"
#include "ui/kit/Controls.h"

namespace zv {

/// Draws the page between the columns `left` and `right`, in design pixels, except its lowest button.
void DrawDesktopSettings(Canvas& canvas, std::int32_t left, std::int32_t right);

/// The page's lowest button.
Button RestoreDefaultsButton(std::int32_t left, std::int32_t right);

}  // namespace zv
