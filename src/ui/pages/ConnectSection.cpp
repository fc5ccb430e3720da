#include "ui/commands/Links.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/navigation/Navigation.h"
#include "ui/pages/SettingsControls.h"
#include "ui/pages/SettingsSections.h"
#include "ui/pages/Site.h"
#include "ui/pages/TargetIds.h"

namespace zv {
namespace {

void OpenUpdatesPage() {
    HideOverlay();
    SelectDesktopPage(desktopPage::updates);
    ShowMainWindow();
}

}  // namespace

void DrawConnectSection(Canvas& canvas) {
    DrawSettingsHeading(canvas, {173, 178, 835, 211}, u"Zorvel account and updates");
    DrawWrappedText(canvas, {173, 220, 835, 255}, siteNotice, color::mutedText, FontRole::Small);
    DrawButton(canvas, {.id = overlayTarget::openSite,
                        .box = {173, 280, 495, 320},
                        .label = Text(u"Open ") + siteName,
                        .action = [] { OpenWebPage(Text(u"https://") + siteName); }});
    DrawButton(canvas, {.id = overlayTarget::openUpdates,
                        .box = {513, 280, 835, 320},
                        .label = u"Open Updates page",
                        .action = OpenUpdatesPage});
    DrawSettingsNote(canvas, {173, 355, 835, 405},
                     u"Updates are only downloaded when the player chooses Download update. They are never installed "
                     u"silently.");
}

}  // namespace zv
