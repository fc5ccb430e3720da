// The small window that waits for a new shortcut. Unlike the overlay it takes the keyboard, and it is a window like
// any other: captures show it. Interface thread only.
#pragma once

#include <cstdint>

#include "platform/Window.h"

namespace zv {

/// Opens the editor for an action of shortcutAction, in place of one that is open.
void OpenShortcutEditor(int index);

/// Also when none is open.
void CloseShortcutEditor();

/// Our own shortcuts never come to a window as keys. While the editor has the keyboard their hot keys are what was
/// pressed in it, reserved as they stay. False when it has not: the hot key is a command then.
bool GiveHotkeyToShortcutEditor(std::uintptr_t id);

std::intptr_t ShortcutEditorProc(AppWindow& window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);

}  // namespace zv
