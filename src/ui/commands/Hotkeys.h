// The four global shortcuts, which work while a game is in front: their table, their registration with the system, and
// the rules for a new one. Interface thread only.
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

inline constexpr int probeHotkeyId = 90;  ///< tests whether a combination is free; never left registered

/// The name of the action on the settings page.
TextView ShortcutLabel(int index);

/// Registers the four shortcuts of the settings and sets UiGlobals::hotkeyRegistered. Those that the system refuses get
/// a row of the activity log, and a notification by ShowBusyHotkeys.
void RegisterHotkeys(AppWindow& window);
void UnregisterHotkeys(AppWindow& window);

/// Handles message::globalKeyChanged. A lost shortcut is reported like a refused one.
void UpdateHotkey(std::uintptr_t id, bool reserved);

/// Shows one notification for all shortcuts that have become busy since the last one. Waits until no job runs whose
/// status the user has to see first, and until the notification of that status has disappeared.
void ShowBusyHotkeys();

/// Changes the shortcut of an action and saves it. On failure keeps the old one, sets ShortcutEditorRecord::error and
/// returns false.
/// `modifiers` are bits of keyModifier without noRepeat, `key` is a virtual-key code.
bool TryRebindHotkey(int index, std::uint32_t modifiers, std::uint32_t key);

/// The text of an action's shortcut, for example "Ctrl + Alt + R".
Text HotkeyText(int index);

/// Runs the command of a hot key. Ignores other ids.
void RunHotkey(std::uintptr_t id);

}  // namespace zv
