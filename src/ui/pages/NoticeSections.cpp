// The sections for features that are mostly not available: Broadcast live, Highlights, Photo / Game filters.
#include "ui/commands/Commands.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/pages/SettingsControls.h"
#include "ui/pages/SettingsSections.h"
#include "ui/pages/TargetIds.h"

namespace zv {
namespace {

constexpr Rectangle headingBox{173, 178, 835, 211};

void DrawStatement(Canvas& canvas, TextView text) {
    DrawWrappedText(canvas, {173, 228, 835, 280}, text, color::mutedText, FontRole::Body);
}

}  // namespace

void DrawBroadcastSection(Canvas& canvas) {
    DrawSettingsHeading(canvas, headingBox, u"Broadcast live");
    DrawStatement(canvas,
                  u"Broadcast live is not connected yet. Zorvel will not show a fake stream button or claim it is "
                  u"broadcasting.");
    DrawSettingsNote(canvas, {173, 310, 835, 360},
                     u"A real live feature needs a streaming service connection, stream key storage, bitrate controls "
                     u"and end-to-end tests.");
}

void DrawHighlightsSection(Canvas& canvas) {
    DrawSettingsHeading(canvas, headingBox, u"Highlights");
    DrawStatement(canvas,
                  u"Automatic Fortnite eliminations, double eliminations and downs need a supported game-event "
                  u"source.");
    DrawSettingsNote(canvas, {173, 310, 835, 365},
                     u"No supported event source is connected, so automatic Highlights are unavailable instead of "
                     u"saving false clips. Manual replay saving still works.");
}

void DrawPhotoSection(Canvas& canvas) {
    DrawSettingsHeading(canvas, headingBox, u"Photo mode and Game filters");
    DrawButton(canvas, {.id = overlayTarget::photoScreenshot,
                        .box = {173, 228, 496, 268},
                        .label = u"Take screenshot now",
                        .action = TakeScreenshot});
    DrawCaptureSwitch(canvas,
                      {overlayTarget::photoCursor, {512, 228, 835, 268}, u"Capture cursor", &Settings::captureCursor});
    DrawSettingsNote(canvas, {173, 310, 835, 360},
                     u"Photo capture saves a PNG to the selected game folder. Visual game filters need a supported "
                     u"graphics pipeline and are not enabled here.");
}

}  // namespace zv
