#include "ui/pages/ShortcutEditor.h"

#include "core/Settings.h"
#include "platform/Keyboard.h"
#include "ui/commands/Hotkeys.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/kit/DrawingContext.h"
#include "ui/kit/SmallWindow.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

constexpr int editorWidth = 590;  // device pixels: the editor is not scaled
constexpr int editorHeight = 190;
constexpr int fromOverlay = 220;
constexpr std::uintptr_t escapeKey = 27;

bool IsWithin(std::uintptr_t key, std::uintptr_t first, std::uintptr_t last) { return key >= first && key <= last; }

/// Digits, letters, F1 to F24. Not modifiers, so the editor waits while one is held.
bool IsShortcutKey(std::uintptr_t key) {
    return IsWithin(key, '0', '9') || IsWithin(key, 'A', 'Z') || IsWithin(key, 112, 135);
}

void Bind(AppWindow& window, std::uint32_t modifiers, std::uint32_t key) {
    if (TryRebindHotkey(Ui().shortcutEditor.index, modifiers, key)) {
        CloseShortcutEditor();
        InvalidatePages();
    } else {
        InvalidateWindow(window);
    }
}

void OnKey(AppWindow& window, std::uintptr_t key) {
    if (key == escapeKey) {
        CloseShortcutEditor();
    } else if (IsShortcutKey(key)) {
        Bind(window, HeldModifiers(), static_cast<std::uint32_t>(key));
    }
}

void DrawEditor(Canvas& canvas, const Rectangle& client) {
    FillBox(canvas, client, color::windowBackground);
    DrawTextLine(canvas, {20, 18, 550, 55}, u"Press your new shortcut", color::primaryText, FontRole::Bold);
    DrawTextLine(canvas, {20, 61, 550, 96}, u"Use Ctrl, Alt or Shift + a letter, number or F-key.", color::mutedText,
                 FontRole::Small);
    const Text& error = Ui().shortcutEditor.error;
    DrawTextLine(canvas, {20, 99, 550, 135},
                 error.empty() ? u"Escape cancels without changing your shortcut." : TextView(error),
                 Drawing().accentColor, FontRole::Small);
}

}  // namespace

void OpenShortcutEditor(int index) {
    ShortcutEditorRecord& editor = Ui().shortcutEditor;
    CloseShortcutEditor();
    AppWindow* overlayWindow = Ui().overlayWindow;
    const Rectangle overlay = overlayWindow != nullptr ? WindowBounds(*overlayWindow) : Rectangle{};
    WindowOptions options;
    options.className = u"ZVShortcutEditor315";
    options.title = u"ZV Reels - shortcut";
    options.procedure = ShortcutEditorProc;
    options.frame = WindowFrame::Caption;
    options.left = overlay.left + fromOverlay;
    options.top = overlay.top + fromOverlay;
    options.width = editorWidth;
    options.height = editorHeight;
    options.topmost = true;
    options.toolWindow = true;
    options.owner = Ui().mainWindow;
    editor.error.clear();
    editor.index = index;
    editor.window = MakeWindow(options);
    if (!editor.window) {
        editor.index = noShortcut;
        return;
    }
    ShowInFront(*editor.window);
}

void CloseShortcutEditor() {
    ShortcutEditorRecord& editor = Ui().shortcutEditor;
    editor.window.reset();
    editor.hasKeyboard = false;
    editor.index = noShortcut;
}

bool PassHotkeyToShortcutEditor(std::uintptr_t id) {
    const ShortcutEditorRecord& editor = Ui().shortcutEditor;
    if (!editor.hasKeyboard || id < 1 || id > shortcutAction::count) {
        return false;
    }
    const Settings& settings = CurrentSettings();
    Bind(*editor.window, settings.bindMods[id - 1], settings.bindKeys[id - 1]);
    return true;
}

std::intptr_t ShortcutEditorProc(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    switch (code) {
        case message::keyDown:
        case message::systemKeyDown:
            OnKey(window, wParam);
            return 0;
        case message::setFocus:
        case message::killFocus:
            Ui().shortcutEditor.hasKeyboard = code == message::setFocus;
            return DefaultProcedure(window, code, wParam, lParam);
        case message::close:
            CloseShortcutEditor();
            return 0;
        case message::eraseBackground:
            return 1;
        case message::paint:
            PaintSmallWindow(window, DrawEditor);
            return 0;
        default:
            return DefaultProcedure(window, code, wParam, lParam);
    }
}

}  // namespace zv
