#include "ui/pages/HelpPage.h"

#include "platform/AboutText.h"
#include "platform/InformationBox.h"
#include "ui/commands/Hotkeys.h"
#include "ui/commands/Links.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/kit/DrawingContext.h"
#include "ui/pages/TargetIds.h"

namespace zv {
namespace {

void DrawQuickStart(Canvas& canvas, std::int32_t left, std::int32_t right) {
    DrawCard(canvas, {left, 120, right, 351});
    DrawTextLine(canvas, {left + 22, 135, right - 22, 174}, u"Quick start", color::primaryText, FontRole::Heading);
    DrawTextLine(canvas, {left + 22, 187, right - 22, 220},
                 HotkeyText(shortcutAction::toggleOverlay) + u"  Open the overlay", color::primaryText, FontRole::Body);
    DrawTextLine(canvas, {left + 22, 230, right - 22, 263},
                 HotkeyText(shortcutAction::saveReplay) + u"  Save replay   |   " +
                     HotkeyText(shortcutAction::toggleRecording) + u"  Record",
                 color::primaryText, FontRole::Body);
    DrawTextLine(canvas, {left + 22, 277, right - 22, 323},
                 u"If a shortcut is busy, change it in Settings > Keyboard shortcuts.", color::mutedText,
                 FontRole::Small);
}

void DrawCompatibility(Canvas& canvas, std::int32_t left, std::int32_t right) {
    DrawTextLine(canvas, {left, 377, right, 407}, u"Compatibility", color::primaryText, FontRole::Bold);
    DrawTextLine(canvas, {left, 417, right, 446}, u"Windows 10/11 x64. Capture currently requires an NVIDIA NVENC GPU.",
                 color::mutedText, FontRole::Body);
    DrawTextLine(canvas, {left, 459, right, 488},
                 u"4K and 240 FPS depend on hardware and game load. Borderless games work best.", color::mutedText,
                 FontRole::Body);
}

}  // namespace

void DrawDesktopHelp(Canvas& canvas, std::int32_t left, std::int32_t right) {
    DrawQuickStart(canvas, left, right);
    DrawCompatibility(canvas, left, right);
    DrawButton(canvas, {.id = desktopTarget::captureLogs,
                        .box = {left, 523, left + 235, 565},
                        .label = u"Open capture logs",
                        .action = OpenLogsFolder});
    DrawButton(canvas, {.id = desktopTarget::about,
                        .box = {left + 253, 523, right, 565},
                        .label = u"About and licenses",
                        .action = [] { ShowInformation(AboutText(), u"ZV Reels - About and licenses"); }});
    DrawTextLine(canvas, {left, 594, right, 632}, u"Version 3.17 preview. Report the message below if an action fails.",
                 Drawing().accentColor, FontRole::Small);
}

}  // namespace zv
