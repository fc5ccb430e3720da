// The position of a window in the tree of windows.
#pragma once

#include <xcb/xcb.h>

namespace zv::x11 {

/// The child of the root that contains `window`: its frame if a window manager frames it, else `window` itself.
xcb_window_t TopLevelOf(xcb_connection_t* connection, xcb_window_t root, xcb_window_t window);

}  // namespace zv::x11
