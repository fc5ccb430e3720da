#include "ui/pages/SettingsControls.h"

#include <utility>

#include "ui/commands/CaptureSettings.h"
#include "ui/commands/Commands.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"

namespace zv {
namespace {

constexpr std::int32_t wrappedHeight = 45;  ///< of the lowest box with line breaks

void Flip(bool Settings::*setting) { CurrentSettings().*setting = !(CurrentSettings().*setting); }

}  // namespace

void DrawSettingsHeading(Canvas& canvas, const Rectangle& box, TextView text) {
    DrawTextLine(canvas, box, text, color::primaryText, FontRole::Bold);
}

void DrawSettingsNote(Canvas& canvas, const Rectangle& box, TextView text) {
    const auto draw = box.Height() >= wrappedHeight ? DrawWrappedText : DrawTextLine;
    draw(canvas, box, text, color::mutedText, FontRole::Small);
}

void DrawSettingsSwitch(Canvas& canvas, const SettingsSwitch& toggle, std::function<void()> action) {
    const bool on = CurrentSettings().*toggle.setting;
    DrawButton(canvas, {.id = toggle.id,
                        .box = toggle.box,
                        .label = Text(toggle.name) + (on ? u": On" : u": Off"),
                        .action = std::move(action),
                        .selected = on});
}

void DrawCaptureSwitch(Canvas& canvas, const SettingsSwitch& toggle) {
    DrawSettingsSwitch(canvas, toggle,
                       [setting = toggle.setting] { ApplyCaptureChange([setting] { Flip(setting); }); });
}

void DrawInterfaceSwitch(Canvas& canvas, const SettingsSwitch& toggle) {
    DrawSettingsSwitch(canvas, toggle, [setting = toggle.setting] {
        Flip(setting);
        SaveInterfaceSettings();
    });
}

}  // namespace zv
