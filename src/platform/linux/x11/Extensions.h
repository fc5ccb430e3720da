// The extensions of an X server.
#pragma once

#include <xcb/xcb.h>

#include <initializer_list>

namespace zv::x11 {

/// Returns true if the server has the extension. Waits for the server if the reply has not arrived yet.
bool HasExtension(xcb_connection_t* connection, xcb_extension_t& extension);

/// Returns true if the server has all extensions. Waits for the server at most once.
bool HasExtensions(xcb_connection_t* connection, std::initializer_list<xcb_extension_t*> extensions);

}  // namespace zv::x11
