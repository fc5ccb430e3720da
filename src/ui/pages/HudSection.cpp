#include <array>

#include "core/Theme.h"
#include "ui/commands/CaptureSettings.h"
#include "ui/kit/Controls.h"
#include "ui/kit/DrawingContext.h"
#include "ui/pages/SettingsControls.h"
#include "ui/pages/SettingsSections.h"
#include "ui/pages/TargetIds.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

struct ThemeButton {
    TextView label;
    TextView theme;
    Rectangle box;
};
constexpr std::array<ThemeButton, 3> themeButtons{{
    {u"Purple", u"Zorvel Purple", {173, 342, 385, 379}},
    {u"Blue", u"Zorvel Blue", {398, 342, 610, 379}},
    {u"Rose", u"Zorvel Rose", {623, 342, 835, 379}},
}};

void UseTheme(TextView theme) {
    CurrentSettings().theme = theme;
    Drawing().accentColor = ApplyTheme(CurrentSettings());
    SaveInterfaceSettings();
    InvalidatePages();
}

void DrawThemes(Canvas& canvas) {
    std::int32_t id = overlayTarget::firstTheme;
    for (const ThemeButton& button : themeButtons) {
        DrawButton(canvas, {.id = id++,
                            .box = button.box,
                            .label = Text(button.label),
                            .action = [theme = button.theme] { UseTheme(theme); },
                            .selected = CurrentSettings().theme == button.theme});
    }
}

}  // namespace

void DrawHudSection(Canvas& canvas) {
    DrawSettingsHeading(canvas, {173, 178, 835, 211}, u"HUD layout");
    DrawInterfaceSwitch(canvas, {overlayTarget::performanceIndicator,
                                 {173, 226, 496, 264},
                                 u"Performance indicator",
                                 &Settings::showFpsOverlay});
    DrawCaptureSwitch(canvas,
                      {overlayTarget::hudCursor, {512, 226, 835, 264}, u"Capture cursor", &Settings::captureCursor});
    DrawSettingsHeading(canvas, {173, 302, 835, 330}, u"Zorvel theme");
    DrawThemes(canvas);
    DrawSettingsNote(canvas, {173, 407, 835, 458},
                     u"The game badge is click-through so it cannot block your mouse. Custom animated wallpapers need "
                     u"a dedicated renderer and are not enabled yet.");
}

}  // namespace zv
