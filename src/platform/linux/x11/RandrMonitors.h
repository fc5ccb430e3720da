// The monitors of an X screen: those of RandR, or the root window as the only one if RandR has none.
#pragma once

#include <xcb/xcb.h>

#include <vector>

#include "platform/Monitors.h"

namespace zv::x11 {

struct ScreenMonitor {
    OutputRecord output;
    bool primary = false;  ///< exactly one of a non-empty list
};

/// Without its output.
MonitorEntry EntryOf(const ScreenMonitor& monitor);

/// Lists the monitors in the server's order. Empty if the connection is broken. All are attached to the desktop. A
/// monitor whose name can no longer be read is not described.
std::vector<ScreenMonitor> QueryMonitors(xcb_connection_t* connection, xcb_window_t root);

/// The monitor that shows most of `part`, else the primary one.
MonitorEntry MonitorShowing(const std::vector<ScreenMonitor>& monitors, const Rectangle& part);

/// The screen that the display's name selects, or null if the connection is broken.
const xcb_screen_t* ScreenOf(xcb_connection_t* connection, int index);

}  // namespace zv::x11
