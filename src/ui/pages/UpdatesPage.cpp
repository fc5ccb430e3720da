#include "ui/pages/UpdatesPage.h"

#include "ui/commands/Feeds.h"
#include "ui/commands/Links.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/kit/DrawingContext.h"
#include "ui/pages/TargetIds.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

/// The first line below the version.
void DrawState(Canvas& canvas, std::int32_t left, std::int32_t right, TextView text, Color color, FontRole font) {
    DrawTextLine(canvas, {left + 26, 297, right - 26, 329}, text, color, font);
}

void DrawError(Canvas& canvas, std::int32_t left, std::int32_t right, TextView error) {
    DrawWrappedText(canvas, {left + 26, 297, right - 26, 345}, error, color::mutedText, FontRole::Small);
    DrawWrappedText(canvas, {left + 26, 367, right - 26, 410},
                    u"Your release file controls the version, notes and download button. See PUBLISH-UPDATES.txt "
                    u"beside the app.",
                    color::mutedText, FontRole::Small);
}

void DrawRelease(Canvas& canvas, std::int32_t left, std::int32_t right, const PublishedUpdate& update) {
    const bool newer = IsNewer(update);
    if (newer) {
        DrawState(canvas, left, right, u"New version available: " + update.version, Drawing().accentColor,
                  FontRole::Bold);
    } else {
        DrawState(canvas, left, right, u"You are up to date.", color::primaryText, FontRole::Bold);
    }
    DrawTextLine(canvas, {left + 26, 341, right - 26, 378},
                 update.title.empty() ? u"ZV Reels release" : TextView(update.title), color::primaryText,
                 FontRole::Bold);
    DrawWrappedText(canvas, {left + 26, 383, right - 200, 435}, update.notes, color::mutedText, FontRole::Small);
    if (newer) {
        DrawButton(canvas, {.id = desktopTarget::downloadUpdate,
                            .box = {right - 170, 385, right - 26, 426},
                            .label = u"Download update",
                            .action = [address = update.download] { OpenWebPage(address); },
                            .primary = true});
    }
}

void DrawResult(Canvas& canvas, std::int32_t left, std::int32_t right) {
    const PublishedUpdate& update = Ui().feeds.update;
    if (Ui().feeds.updateSlot.IsBusy()) {
        DrawState(canvas, left, right, u"Checking for an update...", Drawing().accentColor, FontRole::Bold);
    } else if (!update.error.empty()) {
        DrawError(canvas, left, right, update.error);
    } else if (!update.version.empty()) {
        DrawRelease(canvas, left, right, update);
    } else {
        DrawState(canvas, left, right, u"Press Check now to look for updates.", color::mutedText, FontRole::Body);
    }
}

}  // namespace

void DrawUpdates(Canvas& canvas, std::int32_t left, std::int32_t right) {
    constexpr std::int32_t corner = 20;
    DrawButton(canvas, {.id = desktopTarget::checkForUpdates,
                        .box = {right - 155, 111, right, 149},
                        .label = u"Check now",
                        .action = CheckForUpdates});
    FillRoundBox(canvas, {left, 171, right, 455}, corner, color::card);
    DrawTextLine(canvas, {left + 26, 194, right - 26, 229}, u"ZV Reels updates", color::primaryText, FontRole::Heading);
    DrawTextLine(canvas, {left + 26, 242, right - 26, 274}, u"Installed version: " + Text(installedVersion),
                 color::mutedText, FontRole::Body);
    DrawResult(canvas, left, right);
}

}  // namespace zv
