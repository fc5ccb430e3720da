// The keyboard's mapping: the Windows virtual-key codes of the keys, and the masks of the modifiers.
//
// A key has the code of the first of its symbols that has one, in the order of the groups (layouts). Where no group
// has Latin letters, keys have the codes of the US layout, as on Windows.
#pragma once

#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace zv::x11 {

struct Session;

/// Indexed by key code; 0 if the key has none.
using VirtualKeys = std::array<std::uint32_t, 256>;

/// Read again after each change of the mapping.
struct Keyboard {
    std::optional<VirtualKeys> virtualKeys;  ///< empty until they are used
    std::uint16_t altMask = XCB_MOD_MASK_1;
    std::uint16_t numLockMask = XCB_MOD_MASK_2;
    std::uint8_t xkbEvent = 0;  ///< 0: the server has no XKB
    bool mappingChanged = false;
};

/// Enables events that distinguish a repeat from a press, and reads the modifier mapping.
void OpenKeyboard(Session& session);

/// Reads the masks of Alt and Num Lock.
void ReadModifiers(Session& session);

/// The keys that have a Windows virtual-key code.
std::vector<xcb_keycode_t> CodesOfVirtualKey(Session& session, std::uint32_t virtualKey);

/// The Windows virtual-key code of a key, 0 if it has none.
std::uint32_t VirtualKeyOf(Session& session, xcb_keycode_t code);

/// The bits of keyModifier in an event's state.
std::uint32_t ModifiersOf(const Session& session, std::uint16_t state);

}  // namespace zv::x11
