#include "ui/pages/HomePage.h"

#include "ui/commands/Feeds.h"
#include "ui/commands/Hotkeys.h"
#include "ui/commands/Library.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/kit/DrawingContext.h"
#include "ui/navigation/Navigation.h"
#include "ui/pages/TargetIds.h"
#include "ui/state/Engine.h"
#include "ui/state/MonitorLabel.h"

namespace zv {
namespace {

void DrawHero(Canvas& canvas, std::int32_t left, std::int32_t right) {
    constexpr std::int32_t corner = 20;
    FillRoundBox(canvas, {left, 119, right, 342}, corner, color::homeHeroCard);
    DrawTextLine(canvas, {left + 26, 141, right - 26, 172}, u"YOUR GAME. YOUR MOMENTS.", Drawing().accentColor,
                 FontRole::Bold);
    DrawTextLine(canvas, {left + 26, 183, right - 26, 230}, u"Capture is one shortcut away.", color::primaryText,
                 FontRole::Heading);
    DrawTextLine(canvas, {left + 26, 237, right - 26, 268},
                 HotkeyText(shortcutAction::toggleOverlay) + u" opens replay, recording, screenshots and your gallery.",
                 color::mutedText, FontRole::Body);
    DrawButton(canvas, {.id = desktopTarget::openOverlay,
                        .box = {left + 26, 284, left + 270, 324},
                        .label = u"Open capture overlay",
                        .action =
                            [] {
                                SelectOverlayPage(overlayPage::tiles);
                                ToggleQuickOverlay();
                            },
                        .primary = true});
}

void DrawReplayCard(Canvas& canvas, std::int32_t left, std::int32_t middle) {
    DrawCard(canvas, {left, 362, middle - 8, 526});
    DrawTextLine(canvas, {left + 22, 378, middle - 25, 409}, u"Replay status", color::primaryText, FontRole::Bold);
    const bool on = Engine().replayRunning;
    DrawTextLine(canvas, {left + 22, 419, middle - 25, 450}, on ? u"Automatic replay is on" : u"Replay is off",
                 on ? Drawing().accentColor : color::mutedText, FontRole::Body);
    DrawTextLine(canvas, {left + 22, 468, middle - 25, 503}, MonitorLabel(), color::mutedText, FontRole::Small);
}

void DrawLibraryCard(Canvas& canvas, std::int32_t middle, std::int32_t right) {
    DrawCard(canvas, {middle + 8, 362, right, 526});
    DrawTextLine(canvas, {middle + 30, 378, right - 22, 409}, u"Your library", color::primaryText, FontRole::Bold);
    DrawTextLine(canvas, {middle + 30, 419, right - 22, 450}, u"Clips, videos and photos together.", color::mutedText,
                 FontRole::Small);
    DrawButton(canvas, {.id = desktopTarget::openGallery,
                        .box = {middle + 30, 468, right - 22, 507},
                        .label = u"Open gallery",
                        .action = [] {
                            SelectGallery();
                            OpenQuickOverlay();
                        }});
}

}  // namespace

void DrawDesktopHome(Canvas& canvas, std::int32_t left, std::int32_t right) {
    const std::int32_t middle = (left + right) / 2;
    DrawHero(canvas, left, right);
    DrawReplayCard(canvas, left, middle);
    DrawLibraryCard(canvas, middle, right);
    DrawTextLine(canvas, {left, 553, right, 588}, u"Explore Recommended for updates from ZV.", color::primaryText,
                 FontRole::Body);
    DrawButton(
        canvas,
        {.id = desktopTarget::recommended, .box = {left, 606, left + 245, 647}, .label = u"Recommended", .action = [] {
             SelectDesktopPage(desktopPage::recommended);
             RefreshRecommendations();
         }});
}

}  // namespace zv
