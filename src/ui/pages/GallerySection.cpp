#include "ui/commands/CaptureSettings.h"
#include "ui/commands/LibraryFolder.h"
#include "ui/commands/Links.h"
#include "ui/commands/Notifications.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/kit/DrawingContext.h"
#include "ui/pages/SettingsControls.h"
#include "ui/pages/SettingsSections.h"
#include "ui/pages/TargetIds.h"

namespace zv {
namespace {

void ToggleNotifications() {
    bool& notifications = CurrentSettings().notifications;
    notifications = !notifications;
    SaveInterfaceSettings();
    if (!notifications) {
        HideToast();
    }
}

}  // namespace

void DrawGallerySection(Canvas& canvas) {
    DrawSettingsHeading(canvas, {173, 178, 835, 211}, u"Save everything under Zorvel");
    DrawSettingsNote(canvas, {173, 222, 835, 253}, CurrentSettings().captureRoot);
    DrawButton(canvas, {.id = overlayTarget::changeLibraryFolder,
                        .box = {173, 266, 488, 304},
                        .label = u"Change library folder",
                        .action = ChooseLibraryFolder});
    DrawButton(canvas, {.id = overlayTarget::openLibraryFolder,
                        .box = {503, 266, 835, 304},
                        .label = u"Open library folder",
                        .action = [] { OpenFolder(CurrentSettings().captureRoot); }});
    DrawTextLine(canvas, {173, 323, 835, 353}, u"Fortnite / Desktop / each game's name", Drawing().accentColor,
                 FontRole::Bold);
    DrawSettingsNote(canvas, {173, 360, 835, 392}, u"Clips, recordings and screenshots stay together in that folder.");
    DrawSettingsSwitch(
        canvas,
        {overlayTarget::notifications, {173, 411, 835, 447}, u"3-second notifications", &Settings::notifications},
        ToggleNotifications);
    DrawSettingsNote(canvas, {173, 467, 835, 510}, u"Existing media stays safe and remains visible in Gallery.");
}

}  // namespace zv
