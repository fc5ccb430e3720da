// A connection to the X server for each thread, for occasional queries.
//
// If the server dies, XCB does not end the process: queries return no reply, and the next ThreadDisplay reconnects.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>

#include "platform/linux/x11/Xcb.h"

namespace zv {

using x11::Adopt;

/// The atoms for queries about the front window.
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

/// The connection of the calling thread, which is opened on the first call and closed when the thread ends. Returns
/// nullopt if there is no display.
std::optional<XDisplay> ThreadDisplay();

/// The first 32-bit value of a window's property.
std::optional<std::uint32_t> NumberProperty(const XDisplay& display, xcb_window_t window, xcb_atom_t property);

}  // namespace zv
