// A connection per thread to the X server, for occasional queries from any thread.
//
// XCB never ends the process: without a server there are no replies, and the next query connects again.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>

#include "platform/linux/x11/Xcb.h"

namespace zv {

using x11::Adopt;

/// Numbers of names on the server.
struct FrontAtoms {
    xcb_atom_t netActiveWindow = XCB_ATOM_NONE;
    xcb_atom_t netWmPid = XCB_ATOM_NONE;
    xcb_atom_t netWmWindowType = XCB_ATOM_NONE;
    xcb_atom_t netWmWindowTypeDesktop = XCB_ATOM_NONE;
    xcb_atom_t netWmWindowTypeDock = XCB_ATOM_NONE;
};

struct XDisplay {
    xcb_connection_t* connection = nullptr;
    xcb_window_t root = 0;
    FrontAtoms atoms;
};

/// The calling thread's own connection, opened on the first call and kept while it works and the thread lives. Nothing
/// if there is no display.
std::optional<XDisplay> ThreadDisplay();

/// The first 32-bit value of a window's property.
std::optional<std::uint32_t> NumberProperty(const XDisplay& display, xcb_window_t window, xcb_atom_t property);

}  // namespace zv
