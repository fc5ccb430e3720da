// The four global shortcuts that reach the program from inside a game: their table, their reservation with the system,
// and the rules that a new one must pass. Interface thread only.
#pragma once

#include <cstdint>

#include "core/Text.h"
#include "platform/Window.h"

namespace zv {

/// Indices into `bindMods` and `bindKeys` of the settings. The id of a hot key is its index plus 1.
namespace shortcutAction {
inline constexpr int toggleOverlay = 0;
inline constexpr int saveReplay = 1;
inline constexpr int toggleRecording = 2;
inline constexpr int takeScreenshot = 3;
inline constexpr int count = 4;
}  // namespace shortcutAction

inline constexpr int probeHotkeyId = 90;  ///< finds out whether a combination is free; never left reserved

/// How the settings name the action.
TextView ShortcutLabel(int index);

/// Reserves the four shortcuts of the settings; `hotkeyRegistered` of the interface's state says which were free.
void RegisterHotkeys(AppWindow& window);
void UnregisterHotkeys(AppWindow& window);

/// Gives an action another shortcut and saves it. False leaves the old one in force and a sentence in `shortcutError`.
/// `modifiers` are bits of keyModifier without noRepeat, `key` is a virtual-key code.
bool TryRebindHotkey(int index, std::uint32_t modifiers, std::uint32_t key);

/// How the whole interface names the action's shortcut, "Ctrl + Alt + R" for one.
Text HotkeyText(int index);

/// Carries out what the hot key stands for; other ids are ignored.
void RunHotkey(std::uintptr_t id);

}  // namespace zv
