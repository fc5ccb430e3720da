// The extensions of an X server.
#pragma once

#include <xcb/xcb.h>

#include <initializer_list>

namespace zv::x11 {

/// Returns true if the server has it. Waits for the server unless the answer is there already.
bool HasExtension(xcb_connection_t* connection, xcb_extension_t& extension);

/// Returns true if the server has all of them. Waits for the server once at most.
bool HasExtensions(xcb_connection_t* connection, std::initializer_list<xcb_extension_t*> extensions);

}  // namespace zv::x11
