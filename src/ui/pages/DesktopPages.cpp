#include "ui/pages/DesktopPages.h"

#include <array>

#include "ui/commands/Hotkeys.h"
#include "ui/kit/Colors.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/state/CaptureSettings.h"
#include "ui/state/MonitorLabel.h"
#include "ui/state/UiGlobals.h"
#include "ui/windows/Overlay.h"

namespace zv {
namespace {

constexpr std::int32_t sidebarWidth = 190;
constexpr std::int32_t contentLeft = 222;
constexpr std::int32_t contentMargin = 30;  ///< to the right of the content
constexpr std::int32_t headingMargin = 215;
constexpr std::int32_t statusHeight = 40;

namespace id {
constexpr std::int32_t firstPage = 10;
/// That of the sidebar's last page, which is registered first and so has the click of both.
constexpr std::int32_t quickOverlay = 14;
constexpr std::int32_t openOverlay = 1200;
constexpr std::int32_t openGallery = 1201;
constexpr std::int32_t recommended = 1202;
}  // namespace id

constexpr std::int32_t recommendedPage = 1;

using PageContent = void (*)(Canvas& canvas, std::int32_t left, std::int32_t right);

struct DesktopPage {
    TextView name;
    TextView heading;
    TextView subtitle;
    TextView notice;                ///< all there is on a page without content
    PageContent content = nullptr;  ///< null: the notice stands there
};

constexpr std::array<DesktopPage, 5> pages{{
    {u"Home", u"Welcome to Zorvel.", u"Your capture companion. Everything is a shortcut away.", u"", DrawDesktopHome},
    {u"Recommended", u"Recommended for you.", u"Recommendations from ZV.", u"There are no recommendations."},
    {u"Settings", u"Make it yours.", u"Choose how ZV fits your game.",
     u"Shortcuts are changed in the settings of the capture overlay."},
    {u"Updates", u"Keep Zorvel current.", u"New versions and release notes.", u"Installed version: 3.23.0"},
    {u"Help", u"Here to help.", u"Shortcuts, compatibility and troubleshooting.",
     u"Every capture command is in the menu of the notification icon."},
}};

/// As the state has it; a number that is no page's stands for Home.
std::size_t CurrentPage() {
    const auto page = static_cast<std::size_t>(Ui().desktopPage);
    return page < pages.size() ? page : 0;
}

void ShowDesktopPage(std::int32_t page) {
    Ui().desktopPage = page;
    Ui().mainState.pressedId = noTarget;
}

void DrawSidebar(Canvas& canvas, std::int32_t height) {
    FillBox(canvas, {0, 0, sidebarWidth, height}, color::sidebar);
    DrawTextLine(canvas, {24, 24, 170, 60}, u"ZORVEL", Ui().accentColor, FontRole::Heading);
    DrawTextLine(canvas, {26, 63, 170, 87}, u"CAPTURE \u00C2\u00B7 EDIT \u00C2\u00B7 SHARE", color::mutedText,
                 FontRole::Small);
    for (std::int32_t page = 0; page < static_cast<std::int32_t>(pages.size()); ++page) {
        constexpr std::int32_t pitch = 57;
        DrawButton(canvas, {.id = id::firstPage + page,
                            .box = {16, 122 + pitch * page, 174, 168 + pitch * page},
                            .label = Text(pages[static_cast<std::size_t>(page)].name),
                            .action = [page] { ShowDesktopPage(page); },
                            .selected = page == Ui().desktopPage});
    }
    DrawTextLine(canvas, {24, height - 118, 174, height - 91}, u"SAVE A MOMENT", color::mutedText, FontRole::Small);
    DrawTextLine(canvas, {24, height - 85, 174, height - 57}, HotkeyText(shortcutAction::saveReplay), Ui().accentColor,
                 FontRole::Bold);
}

void DrawHeading(Canvas& canvas, const DesktopPage& page, std::int32_t width) {
    DrawTextLine(canvas, {contentLeft, 24, width - headingMargin, 66}, page.heading, color::primaryText,
                 FontRole::Heading);
    DrawTextLine(canvas, {contentLeft, 69, width - headingMargin, 94}, page.subtitle, color::mutedText, FontRole::Body);
    DrawButton(canvas, {.id = id::quickOverlay,
                        .box = {width - 189, 31, width - 30, 74},
                        .label = u"Quick overlay",
                        .action = ToggleQuickOverlay});
}

void DrawContent(Canvas& canvas, const DesktopPage& page, std::int32_t left, std::int32_t right) {
    if (page.content != nullptr) {
        page.content(canvas, left, right);
        return;
    }
    DrawTextLine(canvas, {left, 119, right, 150}, page.notice, color::mutedText, FontRole::Body);
}

void DrawStatusStrip(Canvas& canvas, std::int32_t width, std::int32_t height) {
    FillBox(canvas, {sidebarWidth, height - statusHeight, width, height}, color::statusStrip);
    DrawTextLine(canvas, {211, height - 36, width - 22, height - 5}, Ui().statusText, color::mutedText,
                 FontRole::Small);
}

void DrawHero(Canvas& canvas, std::int32_t left, std::int32_t right) {
    constexpr std::int32_t corner = 20;
    FillRoundBox(canvas, {left, 119, right, 342}, corner, color::homeHeroCard);
    DrawTextLine(canvas, {left + 26, 141, right - 26, 172}, u"YOUR GAME. YOUR MOMENTS.", Ui().accentColor,
                 FontRole::Bold);
    DrawTextLine(canvas, {left + 26, 183, right - 26, 230}, u"Capture is one shortcut away.", color::primaryText,
                 FontRole::Heading);
    DrawTextLine(canvas, {left + 26, 237, right - 26, 268},
                 HotkeyText(shortcutAction::toggleOverlay) + u" opens replay, recording, screenshots and your gallery.",
                 color::mutedText, FontRole::Body);
    DrawButton(canvas, {.id = id::openOverlay,
                        .box = {left + 26, 284, left + 270, 324},
                        .label = u"Open capture overlay",
                        .action =
                            [] {
                                Ui().overlayPage = 0;
                                ToggleQuickOverlay();
                            },
                        .primary = true});
}

constexpr std::int32_t cardCorner = 14;

void DrawReplayCard(Canvas& canvas, std::int32_t left, std::int32_t middle) {
    FillRoundBox(canvas, {left, 362, middle - 8, 526}, cardCorner, color::card);
    DrawTextLine(canvas, {left + 22, 378, middle - 25, 409}, u"Replay status", color::primaryText, FontRole::Bold);
    const bool on = Engine().replayRunning;
    DrawTextLine(canvas, {left + 22, 419, middle - 25, 450}, on ? u"Automatic replay is on" : u"Replay is off",
                 on ? Ui().accentColor : color::mutedText, FontRole::Body);
    DrawTextLine(canvas, {left + 22, 468, middle - 25, 503}, MonitorLabel(), color::mutedText, FontRole::Small);
}

void DrawLibraryCard(Canvas& canvas, std::int32_t middle, std::int32_t right) {
    FillRoundBox(canvas, {middle + 8, 362, right, 526}, cardCorner, color::card);
    DrawTextLine(canvas, {middle + 30, 378, right - 22, 409}, u"Your library", color::primaryText, FontRole::Bold);
    DrawTextLine(canvas, {middle + 30, 419, right - 22, 450}, u"Clips, videos and photos together.", color::mutedText,
                 FontRole::Small);
    DrawButton(
        canvas,
        {.id = id::openGallery, .box = {middle + 30, 468, right - 22, 507}, .label = u"Open gallery", .action = [] {
             OpenGallery();
             if (!IsOverlayShown()) {
                 ToggleQuickOverlay();
             }
         }});
}

}  // namespace

void DrawMainFrame(Canvas& canvas) {
    const std::int32_t width = Ui().mainState.logicalWidth;
    const std::int32_t height = Ui().mainState.logicalHeight;
    const DesktopPage& page = pages[CurrentPage()];
    DrawSidebar(canvas, height);
    DrawHeading(canvas, page, width);
    DrawContent(canvas, page, contentLeft, width - contentMargin);
    DrawStatusStrip(canvas, width, height);
}

void DrawDesktopHome(Canvas& canvas, std::int32_t left, std::int32_t right) {
    const std::int32_t middle = (left + right) / 2;
    DrawHero(canvas, left, right);
    DrawReplayCard(canvas, left, middle);
    DrawLibraryCard(canvas, middle, right);
    DrawTextLine(canvas, {left, 553, right, 588}, u"Explore Recommended for updates from ZV.", color::primaryText,
                 FontRole::Body);
    DrawButton(canvas, {.id = id::recommended,
                        .box = {left, 606, left + 245, 647},
                        .label = u"Recommended",
                        // The cards are fetched anew here.
                        .action = [] { ShowDesktopPage(recommendedPage); }});
}

}  // namespace zv
