// Key names, held modifiers, and global keys, which the program receives while another program has the focus. Interface
// thread only, after OpenSession. Keys are virtual-key codes of Windows on every platform.
#pragma once

#include <cstdint>

#include "core/Text.h"
#include "platform/Window.h"

namespace zv {

namespace keyModifier {
inline constexpr std::uint32_t alt = 1;
inline constexpr std::uint32_t control = 2;
inline constexpr std::uint32_t shift = 4;
inline constexpr std::uint32_t noRepeat = 0x4000;
}  // namespace keyModifier

namespace message {
/// A new keyboard mapping has changed whether a global key is reserved. wParam: its id; lParam: 1 if it is reserved, 0
/// if another program has the key now, or no key has the code. Windows, where reservations do not depend on the
/// mapping, never sends it.
inline constexpr std::uint32_t globalKeyChanged = 0x8020;
}  // namespace message

/// The bits of keyModifier that were held when the current message was sent.
std::uint32_t HeldModifiers();

/// The name of the key in the user's keyboard layout; empty if it has none.
Text KeyName(std::uint32_t virtualKey);

/// Reserves a key in the whole session: pressing it sends message::hotKey with `id` to the window. Returns false if
/// another program has reserved it. `modifiers` are bits of keyModifier.
bool RegisterGlobalKey(AppWindow& window, int id, std::uint32_t modifiers, std::uint32_t virtualKey);
void UnregisterGlobalKey(AppWindow& window, int id);

}  // namespace zv
