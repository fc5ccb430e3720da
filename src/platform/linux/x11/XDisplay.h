// A connection to the X server for questions that are asked now and then from whatever thread.
//
// XCB never ends the process: with the server gone every answer is just missing, and the next question tries to
// connect anew.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/linux/x11/Xcb.h"

namespace zv {

using x11::Adopt;

struct XDisplay {
    xcb_connection_t* connection = nullptr;
    xcb_window_t root = 0;
};

/// The calling thread's own connection, made when it is first asked for and kept as long as it works and the thread
/// lives. Nothing when there is no display.
std::optional<XDisplay> ThreadDisplay();

/// The number of a name that some client has used already, else 0.
xcb_atom_t ExistingAtom(const XDisplay& display, std::string_view name);

/// The first 32-bit value of a window's property.
std::optional<std::uint32_t> NumberProperty(const XDisplay& display, xcb_window_t window, xcb_atom_t property);
std::optional<std::uint32_t> NumberProperty(const XDisplay& display, xcb_window_t window, std::string_view name);

}  // namespace zv
