// Which window is in front, and which process made a window.
#pragma once

#include <cstdint>

#include "platform/linux/x11/XDisplay.h"

namespace zv {

/// The active window as the window manager tells it; without one, the window that has the input. 0 when nothing is in
/// front.
xcb_window_t ActiveWindow(const XDisplay& display);

/// The process at the other end of the connection that made the window, as the server itself knows it; else what the
/// window, or the nearest above it that says anything, claims. 0 when neither tells.
std::uint32_t ProcessOfWindow(const XDisplay& display, xcb_window_t window);

}  // namespace zv
