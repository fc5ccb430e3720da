// A connection per thread to the X server, for occasional queries from any thread.
//
// XCB never ends the process: without a server there are no replies, and the next query connects again.
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

/// The calling thread's own connection, opened on the first call and kept while it works and the thread lives. Nothing
/// if there is no display.
std::optional<XDisplay> ThreadDisplay();

/// 0 if no client has interned the name.
xcb_atom_t ExistingAtom(const XDisplay& display, std::string_view name);

/// The first 32-bit value of a window's property.
std::optional<std::uint32_t> NumberProperty(const XDisplay& display, xcb_window_t window, xcb_atom_t property);
std::optional<std::uint32_t> NumberProperty(const XDisplay& display, xcb_window_t window, std::string_view name);

}  // namespace zv
