#include "ui/windows/Overlay.h"

#include <algorithm>
#include <optional>

#include "core/Settings.h"
#include "platform/Clock.h"
#include "platform/Monitors.h"
#include "ui/kit/Colors.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/HitTargets.h"
#include "ui/kit/OverlayControls.h"
#include "ui/pages/OverlayGallery.h"
#include "ui/pages/OverlaySettings.h"
#include "ui/pages/OverlayTiles.h"
#include "ui/state/CaptureSettings.h"
#include "ui/state/UiGlobals.h"
#include "video/Monitors.h"

namespace zv {
namespace {

void NoteActivity() { Ui().lastOverlayActivity = TickMs(); }

Point CentreOf(const MonitorEntry& monitor) {
    return {monitor.left + monitor.width / 2, monitor.top + monitor.height / 2};
}

/// On the monitor that is captured. When it is gone, on the one where the user is.
Point AnchorPoint() {
    const std::optional<MonitorEntry> monitor = ResolveMonitor(CurrentSettings().monitorDevice);
    return monitor ? CentreOf(*monitor) : CursorPosition();
}

void DrawHeader(Canvas& canvas) {
    constexpr Rectangle chip{8, 8, 38, 39};
    constexpr Color chipFill = Rgb(31, 24, 45);
    FillBox(canvas, {0, 0, overlayWidth, 47}, color::black);
    FillBox(canvas, chip, chipFill);
    DrawCentredText(canvas, chip, u"ZV", color::purple, FontRole::Bold);
    DrawCentredText(canvas, {340, 5, 670, 42}, u"Zorvel", color::primaryText, FontRole::Bold);
    DrawOverlayButton(canvas, {.id = 901, .box = {982, 8, 1008, 39}, .label = u"X", .action = HideOverlay});
}

void DrawPage(Canvas& canvas) {
    switch (Ui().overlayPage) {
        case overlayPage::tiles:
            DrawOverlayTiles(canvas);
            return;
        case overlayPage::settings:
            DrawOverlaySettings(canvas);
            return;
        default:
            DrawOverlayGallery(canvas);
            return;
    }
}

void OnCreate(AppWindow& window) {
    Ui().overlayWindow = &window;
    Ui().overlayState.pages = RenderQuickOverlay;
}

std::intptr_t OnShow(AppWindow& window, std::uintptr_t wParam, std::intptr_t lParam) {
    // The viewer pauses when the overlay hides.
    return DefaultProcedure(window, message::showWindow, wParam, lParam);
}

std::intptr_t OnOtherMessage(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    switch (code) {
        case message::create:
            OnCreate(window);
            return 0;
        case message::destroy:
            Ui().overlayWindow = nullptr;
            return 0;
        case message::paint:
            PaintWindow(window, Ui().overlayState, true);
            return 0;
        case message::eraseBackground:
            return 1;
        case message::mouseActivate:
            return activateNo;
        case message::close:
        case message::rightButtonUp:
            HideWindow(window);
            return 0;
        case message::showWindow:
            return OnShow(window, wParam, lParam);
        case message::size:
            // The viewer's video follows.
            InvalidateWindow(window);
            return 0;
        default:
            return DefaultProcedure(window, code, wParam, lParam);
    }
}

}  // namespace

std::intptr_t OverlayProc(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    if (code == message::mouseMove) {
        NoteActivity();
    }
    if (HandleMouseMessage(window, Ui().overlayState, code, lParam)) {
        return code == message::setCursor ? 1 : 0;
    }
    return OnOtherMessage(window, code, wParam, lParam);
}

void RenderQuickOverlay(Canvas& canvas) {
    FillBox(canvas, {0, 0, overlayWidth, overlayHeight}, color::overlayKey);
    DrawHeader(canvas);
    DrawPage(canvas);
}

void ToggleQuickOverlay() {
    RefreshGameName();
    AppWindow* window = Ui().overlayWindow;
    if (window == nullptr) {
        return;
    }
    if (IsWindowShown(*window)) {
        HideWindow(*window);
        return;
    }
    ShowTopmostAt(*window, OverlayPlace(MonitorAt(AnchorPoint()).work));
    NoteActivity();
    InvalidateWindow(*window);
}

void HideOverlay() {
    if (AppWindow* window = Ui().overlayWindow) {
        HideWindow(*window);
    }
}

bool IsOverlayShown() { return Ui().overlayWindow != nullptr && IsWindowShown(*Ui().overlayWindow); }

Rectangle OverlayPlace(const Rectangle& work) {
    const double scale =
        std::min(static_cast<double>(work.Height()) / overlayHeight, static_cast<double>(work.Width()) / overlayWidth);
    const auto width = static_cast<std::int32_t>(scale * overlayWidth);
    const auto height = static_cast<std::int32_t>(scale * overlayHeight);
    const std::int32_t left = work.left + (work.Width() - width) / 2;
    return {left, work.top, left + width, work.top + height};
}

void OpenGallery() {
    Ui().overlayPage = overlayPage::gallery;
    Ui().galleryFirstIndex = 0;
    Ui().galleryGame.clear();
    Ui().galleryFilter = 0;
    // A scan of the library follows.
}

std::uint32_t OverlaySignature() {
    const Settings& settings = CurrentSettings();
    const auto bit = [](bool on, std::uint32_t place) { return on ? 1U << place : 0U; };
    return bit(Ui().captureJobSlot.IsBusy(), 0) | bit(GetRecordingStatus().recording, 1) |
           bit(Engine().replayRunning, 2) | bit(settings.micEnabled, 3) | bit(settings.gameAudioEnabled, 4) |
           bit(Ui().secondsReady >= 1, 5);
}

void RefreshOverlay() {
    const std::uint32_t signature = OverlaySignature();
    if (!IsOverlayShown() || signature == Ui().overlaySignature) {
        return;
    }
    Ui().overlaySignature = signature;
    InvalidateWindow(*Ui().overlayWindow);
}

}  // namespace zv
