#include "ui/navigation/Navigation.h"

#include <algorithm>
#include <optional>

#include "core/Settings.h"
#include "platform/Clock.h"
#include "platform/Monitors.h"
#include "platform/Window.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/state/CurrentGame.h"
#include "ui/state/UiGlobals.h"
#include "video/Monitors.h"

namespace zv {
namespace {

Point CentreOf(const MonitorEntry& monitor) {
    return {monitor.left + monitor.width / 2, monitor.top + monitor.height / 2};
}

/// On the captured monitor. If it is disconnected, on the monitor of the cursor.
Point AnchorPoint() {
    const std::optional<MonitorEntry> monitor = ResolveMonitor(CurrentSettings().monitorDevice);
    return monitor ? CentreOf(*monitor) : CursorPosition();
}

}  // namespace

void ShowMainWindow() {
    if (AppWindow* window = Ui().mainWindow) {
        Ui().mainWindowPutAway = false;
        ShowInFront(*window);
    }
}

void SelectDesktopPage(std::int32_t page) {
    Ui().desktopPage = page;
    Ui().mainState.pressedId = noTarget;
}

void ToggleQuickOverlay() {
    RefreshGameName(LookUpFrontWindow());
    AppWindow* window = Ui().overlayWindow;
    if (window == nullptr) {
        return;
    }
    if (IsWindowShown(*window)) {
        HideWindow(*window);
        return;
    }
    ShowTopmostAt(*window, OverlayBounds(WorkAreaAt(AnchorPoint())));
    NoteOverlayActivity();
    InvalidateWindow(*window);
}

void OpenQuickOverlay() {
    if (!IsOverlayShown()) {
        ToggleQuickOverlay();
    }
}

void HideOverlay() {
    if (AppWindow* window = Ui().overlayWindow) {
        HideWindow(*window);
    }
}

bool IsOverlayShown() { return Ui().overlayWindow != nullptr && IsWindowShown(*Ui().overlayWindow); }

void ReopenOverlay() {
    if (AppWindow* window = Ui().overlayWindow) {
        ShowWithoutActivating(*window);
        NoteOverlayActivity();
        InvalidateWindow(*window);
    }
}

void NoteOverlayActivity() { Ui().lastOverlayActivity = TickMs(); }

void SelectOverlayPage(std::int32_t page) { Ui().overlayPage = page; }

void SelectSettingsSection(std::int32_t section) {
    SelectOverlayPage(overlayPage::settings);
    Ui().settingsSection = section;
}

Rectangle OverlayBounds(const Rectangle& work) {
    const double scale =
        std::min(static_cast<double>(work.Height()) / overlayHeight, static_cast<double>(work.Width()) / overlayWidth);
    const auto width = static_cast<std::int32_t>(scale * overlayWidth);
    const auto height = static_cast<std::int32_t>(scale * overlayHeight);
    const std::int32_t left = work.left + (work.Width() - width) / 2;
    return {left, work.top, left + width, work.top + height};
}

void HideBadge() {
    AppWindow* window = Ui().badgeWindow;
    if (window != nullptr && IsWindowShown(*window)) {
        HideWindow(*window);
    }
}

}  // namespace zv
