// Keys: what they are called, which modifiers are held, and keys that reach the program from inside every other one.
// Interface thread only, after OpenSession. Keys go by the virtual-key codes of Windows on every platform.
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

/// The bits of keyModifier that were held at the message that is being handled.
std::uint32_t HeldModifiers();

/// The keyboard's own name for the key, empty if it has none.
Text KeyName(std::uint32_t virtualKey);

/// Reserves a key for the whole session: pressing it sends message::hotKey with `id` to the window. Returns false if
/// the key is taken. `modifiers` are bits of keyModifier.
bool RegisterGlobalKey(AppWindow& window, int id, std::uint32_t modifiers, std::uint32_t virtualKey);
void UnregisterGlobalKey(AppWindow& window, int id);

}  // namespace zv
