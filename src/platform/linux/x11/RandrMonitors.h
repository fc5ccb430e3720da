// The monitors of an X screen: those of RandR, or the root window as the only one where RandR names none.
#pragma once

#include <xcb/xcb.h>

#include <vector>

#include "platform/Monitors.h"

namespace zv::x11 {

struct ScreenMonitor {
    OutputRecord output;
    bool primary = false;  ///< exactly one of a list that is not empty
};

/// In the server's own order; empty when the connection is broken. All are outputs that belong to the desktop; one
/// whose name is gone already is not described.
std::vector<ScreenMonitor> QueryMonitors(xcb_connection_t* connection, xcb_window_t root);

/// The screen that the display's name selects, or null when the connection is broken.
const xcb_screen_t* ScreenOf(xcb_connection_t* connection, int index);

}  // namespace zv::x11
