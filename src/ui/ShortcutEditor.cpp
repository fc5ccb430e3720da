#include "ui/ShortcutEditor.h"

#include "ui/Colors.h"
#include "ui/DrawingFrame.h"
#include "ui/HitTargets.h"
#include "ui/Hotkeys.h"
#include "ui/SmallWindow.h"
#include "ui/UiGlobals.h"

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

void OnKey(AppWindow& window, std::uintptr_t key) {
    if (key == escapeKey) {
        CloseShortcutEditor();
        return;
    }
    if (!IsShortcutKey(key)) {
        return;
    }
    if (TryRebindHotkey(Ui().shortcutEditorIndex, HeldModifiers(), static_cast<std::uint32_t>(key))) {
        CloseShortcutEditor();
        InvalidatePages();
    } else {
        InvalidateWindow(window);
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
    Ui().shortcutEditorIndex = noShortcut;
}

std::intptr_t ShortcutEditorProc(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    switch (code) {
        case message::keyDown:
        case message::systemKeyDown:
            OnKey(window, wParam);
            return 0;
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
