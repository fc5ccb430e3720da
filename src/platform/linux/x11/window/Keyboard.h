// The keyboard's mapping: the symbols of the keys, and the masks of the modifiers.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <vector>

namespace zv::x11 {

struct Session;

/// Read again after each change of the mapping.
struct Keyboard {
    std::vector<xcb_keysym_t> symbols;  ///< the first two of each key code; empty until they are used
    std::uint16_t altMask = XCB_MOD_MASK_1;
    std::uint16_t numLockMask = XCB_MOD_MASK_2;
    std::uint8_t xkbEvent = 0;  ///< 0: the server has no XKB
    bool mappingChanged = false;
};

/// Enables events that distinguish a repeat from a press, and reads the modifier mapping.
void OpenKeyboard(Session& session);

/// Reads the masks of Alt and Num Lock.
void ReadModifiers(Session& session);

/// The keys that produce the symbol of a Windows virtual-key code: those without Shift if there are any, else all.
std::vector<xcb_keycode_t> CodesOfVirtualKey(Session& session, std::uint32_t virtualKey);

/// The Windows virtual-key code of a key, 0 if it has none.
std::uint32_t VirtualKeyOf(Session& session, xcb_keycode_t code);

/// The bits of keyModifier in an event's state.
std::uint32_t ModifiersOf(const Session& session, std::uint16_t state);

}  // namespace zv::x11
