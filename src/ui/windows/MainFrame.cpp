#include "ui/windows/MainFrame.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <utility>

#include "ui/commands/Hotkeys.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/kit/DrawingContext.h"
#include "ui/navigation/Navigation.h"
#include "ui/pages/HelpPage.h"
#include "ui/pages/HomePage.h"
#include "ui/pages/RecommendedPage.h"
#include "ui/pages/SettingsPage.h"
#include "ui/pages/TargetIds.h"
#include "ui/pages/UpdatesPage.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

constexpr std::int32_t sidebarWidth = 190;
constexpr std::int32_t contentLeft = 222;
constexpr std::int32_t contentMargin = 30;  ///< right of the content
constexpr std::int32_t headingMargin = 215;
constexpr std::int32_t statusHeight = 40;

using PageContent = void (*)(Canvas& canvas, std::int32_t left, std::int32_t right);

struct DesktopPage {
    TextView name;
    TextView heading;
    TextView subtitle;
    PageContent content = nullptr;
    Button (*lowestButton)(std::int32_t left, std::int32_t right) = nullptr;  ///< null: the content has all buttons
};

/// By desktopPage.
constexpr std::array<DesktopPage, desktopPage::count> pages{{
    {u"Home", u"Welcome to Zorvel.", u"Your capture companion. Everything is a shortcut away.", DrawDesktopHome},
    {u"Recommended", u"Recommended for you.", u"Recommendations from ZV.", DrawRecommended},
    {u"Settings", u"Make it yours.", u"Choose how ZV fits your game.", DrawDesktopSettings, RestoreDefaultsButton},
    {u"Updates", u"Keep Zorvel current.", u"New versions and release notes.", DrawUpdates},
    {u"Help", u"Here to help.", u"Shortcuts, compatibility and troubleshooting.", DrawDesktopHelp},
}};

/// Returns the page of the state, or Home for a number that is out of range.
std::size_t CurrentPage() {
    const auto page = static_cast<std::size_t>(Ui().desktopPage);
    return page < pages.size() ? page : desktopPage::home;
}

void DrawSidebar(Canvas& canvas, std::int32_t height) {
    FillBox(canvas, {0, 0, sidebarWidth, height}, color::sidebar);
    DrawTextLine(canvas, {24, 24, 170, 60}, u"ZORVEL", Drawing().accentColor, FontRole::Heading);
    DrawTextLine(canvas, {26, 63, 170, 87}, u"CAPTURE \u00C2\u00B7 EDIT \u00C2\u00B7 SHARE", color::mutedText,
                 FontRole::Small);
    for (std::int32_t page = 0; page < desktopPage::count; ++page) {
        constexpr std::int32_t pitch = 57;
        DrawButton(canvas, {.id = desktopTarget::firstPage + page,
                            .box = {16, 122 + pitch * page, 174, 168 + pitch * page},
                            .label = Text(pages[static_cast<std::size_t>(page)].name),
                            .action = [page] { SelectDesktopPage(page); },
                            .selected = page == Ui().desktopPage});
    }
    DrawTextLine(canvas, {24, height - 118, 174, height - 91}, u"SAVE A MOMENT", color::mutedText, FontRole::Small);
    DrawTextLine(canvas, {24, height - 85, 174, height - 57}, HotkeyText(shortcutAction::saveReplay),
                 Drawing().accentColor, FontRole::Bold);
}

void DrawHeading(Canvas& canvas, const DesktopPage& page, std::int32_t width) {
    DrawTextLine(canvas, {contentLeft, 24, width - headingMargin, 66}, page.heading, color::primaryText,
                 FontRole::Heading);
    DrawTextLine(canvas, {contentLeft, 69, width - headingMargin, 94}, page.subtitle, color::mutedText, FontRole::Body);
    DrawButton(canvas, {.id = desktopTarget::quickOverlay,
                        .box = {width - 189, 31, width - 30, 74},
                        .label = u"Quick overlay",
                        .action = ToggleQuickOverlay});
}

/// The status strip covers the lowest button of a page in a low window. It is above the strip while it is hovered or
/// has the focus.
bool IsRaised(const Button& lowest, std::int32_t stripTop) {
    return lowest.box.bottom > stripTop && (IsHovered(lowest.id) || Ui().mainState.focusId == lowest.id);
}

/// Returns the focus after the action, so that the strip below the button shows the status.
Button WithoutFocusAfterwards(Button button) {
    button.action = [action = std::move(button.action)] {
        action();
        Ui().mainState.focusId = noTarget;
    };
    return button;
}

/// Reduces the targets that the status strip covers to the part above it.
void CoverTargets(std::int32_t top) {
    for (HitTarget& target : Ui().mainState.targets) {
        if (target.box.left >= sidebarWidth) {
            target.box.bottom = std::min(target.box.bottom, top);
        }
    }
}

void DrawStatusStrip(Canvas& canvas, std::int32_t width, std::int32_t height) {
    FillBox(canvas, {sidebarWidth, height - statusHeight, width, height}, color::statusStrip);
    DrawTextLine(canvas, {211, height - 36, width - 22, height - 5}, Ui().statusText, color::mutedText,
                 FontRole::Small);
}

}  // namespace

void DrawMainFrame(Canvas& canvas) {
    const std::int32_t width = Ui().mainState.logicalWidth;
    const std::int32_t height = Ui().mainState.logicalHeight;
    const DesktopPage& page = pages[CurrentPage()];
    DrawSidebar(canvas, height);
    DrawHeading(canvas, page, width);
    page.content(canvas, contentLeft, width - contentMargin);
    std::optional<Button> lowest;
    if (page.lowestButton != nullptr) {
        lowest = page.lowestButton(contentLeft, width - contentMargin);
    }
    const bool raised = lowest && IsRaised(*lowest, height - statusHeight);
    if (lowest && !raised) {
        DrawButton(canvas, *lowest);
    }
    DrawStatusStrip(canvas, width, height);
    CoverTargets(height - statusHeight);
    if (raised) {
        DrawButton(canvas, WithoutFocusAfterwards(std::move(*lowest)));
    }
}

}  // namespace zv
