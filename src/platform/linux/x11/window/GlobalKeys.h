// Keys that the program reserves on the root window.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <vector>

#include "platform/Window.h"

namespace zv::x11 {

struct Session;

struct GlobalKey {
    AppWindow* window = nullptr;
    int id = 0;
    std::uint32_t modifiers = 0;
    std::uint32_t virtualKey = 0;
    std::vector<xcb_keycode_t> codes;  ///< the keys that are grabbed for it; empty: it was lost with a mapping
    bool down = false;
};

/// Returns true if the event was a global key's or a change of the mapping.
bool HandleKeyboardEvent(Session& session, const xcb_generic_event_t& event);

/// Grabs the keys again whose codes have changed with the mapping. Reports those that are lost or reserved again.
void ApplyKeyboardMapping(Session& session);

void UngrabKeysOf(Session& session, const AppWindow& window);

}  // namespace zv::x11
