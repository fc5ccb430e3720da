// The only pixel format that windows, captures and screenshots support.
#pragma once

#include <xcb/xcb.h>

namespace zv::x11 {

/// Printed to standard error if the screen has another format.
inline constexpr char unsupportedScreen[] =
    "Zorvel needs a screen with 8 bits for each of red, green and blue in pixels of 32 bits.\n";

/// Returns true if the screen's pixels are 32 bits in memory, 0xXXRRGGBB as a little-endian number, at depth 24 or 32.
bool IsSupported(xcb_connection_t* connection, const xcb_screen_t& screen);

}  // namespace zv::x11
