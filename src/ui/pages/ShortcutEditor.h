// The small window that waits for a new shortcut; the settings page opens it. Unlike the overlay it has the keyboard
// focus and is visible in captures. Interface thread only.
#pragma once

#include <cstdint>

#include "platform/Window.h"

namespace zv {

/// Opens the editor for a value of shortcutAction. Closes an editor that is open.
void OpenShortcutEditor(int index);

/// Does nothing if no editor is open.
void CloseShortcutEditor();

/// The system sends registered shortcuts as hot keys only. While the editor has the keyboard focus, a hot key is the
/// combination that was pressed in it. Returns false if it has no focus: then the hot key is a command.
bool PassHotkeyToShortcutEditor(std::uintptr_t id);

std::intptr_t ShortcutEditorProc(AppWindow& window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);

}  // namespace zv
