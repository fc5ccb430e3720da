#include "ui/commands/Hotkeys.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/kit/DrawingContext.h"
#include "ui/pages/SettingsSections.h"
#include "ui/pages/ShortcutEditor.h"
#include "ui/pages/TargetIds.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

void DrawShortcutRow(Canvas& canvas, int index) {
    const std::int32_t top = 177 + 67 * index;
    DrawTextLine(canvas, {173, top, 400, top + 31}, ShortcutLabel(index), color::primaryText, FontRole::Small);
    DrawButton(canvas, {.id = overlayTarget::firstShortcut + index,
                        .box = {429, top, 835, top + 34},
                        .label = HotkeyText(index),
                        .action = [index] { OpenShortcutEditor(index); }});
    if (!Ui().hotkeyRegistered[static_cast<std::size_t>(index)]) {
        DrawTextLine(canvas, {429, top + 35, 835, top + 57}, u"Shortcut busy - choose a different combination",
                     Drawing().accentColor, FontRole::Small);
    }
}

}  // namespace

void DrawShortcutsSection(Canvas& canvas) {
    for (int index = 0; index < shortcutAction::count; ++index) {
        DrawShortcutRow(canvas, index);
    }
    DrawTextLine(canvas, {173, 461, 835, 497}, u"Click a shortcut to change it. Other apps keep their shortcuts.",
                 color::mutedText, FontRole::Small);
}

}  // namespace zv
