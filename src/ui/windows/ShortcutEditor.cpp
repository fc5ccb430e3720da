#include "ui/windows/ShortcutEditor.h"

#include "core/Settings.h"
#include "platform/Keyboard.h"
#include "ui/commands/Hotkeys.h"
#include "ui/kit/Colors.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/HitTargets.h"
#include "ui/kit/SmallWindow.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

constexpr int editorWidth = 590;  // device pixels: the editor is not scaled
constexpr int editorHeight = 190;
constexpr int fromOverlay = 220;
constexpr std::uintptr_t escapeKey = 27;

bool IsWithin(std::uintptr_t key, std::uintptr_t first, std::uintptr_t last) { return key >= first && key <= last; }

/// Digits, letters, F1 to F24. Modifiers on their own are none of them, so the editor waits while they are held.
bool IsShortcutKey(std::uintptr_t key) {
    return IsWithin(key, '0', '9') || IsWithin(key, 'A', 'Z') || IsWithin(key, 112, 135);
}

void Bind(AppWindow& window, std::uint32_t modifiers, std::uint32_t key) {
    if (TryRebindHotkey(Ui().shortcutEditorIndex, modifiers, key)) {
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
    const Text& error = Ui().shortcutError;
    DrawTextLine(canvas, {20, 99, 550, 135},
                 error.empty() ? u"Escape cancels without changing your shortcut." : TextView(error), Ui().accentColor,
                 FontRole::Small);
}

}  // namespace

void OpenShortcutEditor(int index) {
    UiGlobals& ui = Ui();
    CloseShortcutEditor();
    const Rectangle overlay = ui.overlayWindow != nullptr ? WindowBounds(*ui.overlayWindow) : Rectangle{};
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
    options.owner = ui.mainWindow;
    ui.shortcutError.clear();
    ui.shortcutEditorIndex = index;
    ui.shortcutEditorWindow = MakeWindow(options);
    if (!ui.shortcutEditorWindow) {
        ui.shortcutEditorIndex = noShortcut;
        return;
    }
    ShowInFront(*ui.shortcutEditorWindow);
}

void CloseShortcutEditor() {
    Ui().shortcutEditorWindow.reset();
    Ui().shortcutEditorHasKeyboard = false;
    Ui().shortcutEditorIndex = noShortcut;
}

bool GiveHotkeyToShortcutEditor(std::uintptr_t id) {
    const UiGlobals& ui = Ui();
    if (!ui.shortcutEditorHasKeyboard || id < 1 || id > shortcutAction::count) {
        return false;
    }
    const Settings& settings = CurrentSettings();
    Bind(*ui.shortcutEditorWindow, settings.bindMods[id - 1], settings.bindKeys[id - 1]);
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
            Ui().shortcutEditorHasKeyboard = code == message::setFocus;
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
