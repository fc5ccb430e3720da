// What notification, badge and shortcut editor share: windows that show one picture and have no targets.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "platform/Canvas.h"
#include "platform/Window.h"

namespace zv {

/// Handles message::paint: `draw` paints the whole client area, in device pixels. Without memory for a picture the
/// screen does not change.
void PaintSmallWindow(AppWindow& window, const std::function<void(Canvas& canvas, const Rectangle& client)>& draw);

/// Returns the answer of a window that mouse clicks pass through. Returns nothing for other messages.
std::optional<std::intptr_t> ClickThroughAnswer(std::uint32_t message);

}  // namespace zv
