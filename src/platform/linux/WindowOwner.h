// Which process made a window.
#pragma once

#include <cstdint>

#include "XDisplay.h"

namespace zv {

/// The process at the other end of the connection that made the window, as the server itself knows it; else what the
/// window, or the nearest above it that says anything, claims. 0 when neither tells.
std::uint32_t ProcessOfWindow(const XDisplay& display, xcb_window_t window);

}  // namespace zv
