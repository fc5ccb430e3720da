// Mouse, keys and focus of the windows.
#pragma once

#include <xcb/xcb.h>

#include <array>
#include <cstdint>

#include "platform/Window.h"

namespace zv::x11 {

struct Session;

struct InputState {
    std::uint32_t readModifiers = 0;    ///< bits of keyModifier at the last event that was read
    std::uint32_t heldModifiers = 0;    ///< the same at the message that is being dispatched
    AppWindow* mouseCapture = nullptr;  ///< the window that called CaptureMouse
    std::array<xcb_cursor_t, 2> cursors{};
};

/// Converts an event to messages. Returns true if it was an event of mouse, keys or focus.
bool HandleInputEvent(Session& session, const xcb_generic_event_t& event);

}  // namespace zv::x11
