// The position of a window in the tree of windows and on the monitors.
#pragma once

#include <xcb/xcb.h>

#include "platform/Rectangle.h"
#include "platform/linux/x11/window/Session.h"

namespace zv::x11 {

/// The child of the root that contains `window`: its frame if a window manager frames it, else `window` itself.
xcb_window_t TopLevelOf(xcb_connection_t* connection, xcb_window_t root, xcb_window_t window);

/// The monitor that contains the point, or the primary one.
Rectangle MonitorBoundsAt(Session& session, Point point);

}  // namespace zv::x11
