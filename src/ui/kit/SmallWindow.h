// What notification, badge and shortcut editor have in common: windows that show one picture and have no targets.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "platform/Canvas.h"
#include "platform/Window.h"

namespace zv {

/// The answer to message::paint: `draw` paints the whole client area, in device pixels. Without the memory for a
/// picture nothing changes on the screen.
void PaintSmallWindow(AppWindow& window, const std::function<void(Canvas& canvas, const Rectangle& client)>& draw);

/// The answers of a window that no click may reach or activate. Nothing for the other messages.
std::optional<std::intptr_t> ClickThroughAnswer(std::uint32_t message);

}  // namespace zv
