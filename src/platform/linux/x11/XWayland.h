// Detects the X server that shows X programs in a Wayland session.
#pragma once

#include <xcb/xcb.h>

namespace zv::x11 {

/// Returns true if the server is XWayland. Such a server cannot read the screen, and receives keys only while an X
/// program has the focus. Its extension is newer than the names of its outputs, which newer servers do not use.
bool IsXWayland(xcb_connection_t* connection, xcb_window_t root);

}  // namespace zv::x11
