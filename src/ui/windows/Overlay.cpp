#include "ui/windows/Overlay.h"

#include "core/Settings.h"
#include "ui/commands/MediaViewer.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/HitTargets.h"
#include "ui/kit/OverlayControls.h"
#include "ui/navigation/Navigation.h"
#include "ui/pages/OverlayGallery.h"
#include "ui/pages/OverlaySettings.h"
#include "ui/pages/OverlayTiles.h"
#include "ui/pages/OverlayViewer.h"
#include "ui/pages/TargetIds.h"
#include "ui/state/Engine.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

void DrawHeader(Canvas& canvas) {
    constexpr Rectangle chip{8, 8, 38, 39};
    constexpr Color chipFill = Rgb(31, 24, 45);
    FillBox(canvas, {0, 0, overlayWidth, 47}, color::black);
    FillBox(canvas, chip, chipFill);
    DrawCentredText(canvas, chip, u"ZV", color::purple, FontRole::Bold);
    DrawCentredText(canvas, {340, 5, 670, 42}, u"Zorvel", color::primaryText, FontRole::Bold);
    DrawOverlayButton(canvas,
                      {.id = overlayTarget::close, .box = {982, 8, 1008, 39}, .label = u"X", .action = HideOverlay});
}

void DrawPage(Canvas& canvas) {
    switch (Ui().overlayPage) {
        case overlayPage::tiles:
            DrawOverlayTiles(canvas);
            return;
        case overlayPage::settings:
            DrawOverlaySettings(canvas);
            return;
        case overlayPage::viewer:
            DrawMediaViewer(canvas);
            return;
        default:
            DrawOverlayGallery(canvas);
            return;
    }
}

void OnOverlayCreate(AppWindow& window) {
    Ui().overlayWindow = &window;
    Ui().overlayState.pages = RenderQuickOverlay;
    Ui().overlayState.afterAction = InvalidatePages;
}

std::intptr_t OnOtherMessage(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    switch (code) {
        case message::create:
            OnOverlayCreate(window);
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
            if (wParam == 0) {
                PauseViewer();
            }
            return DefaultProcedure(window, code, wParam, lParam);
        case message::size:
            PlaceVideoWindow();
            InvalidateWindow(window);
            return 0;
        default:
            return DefaultProcedure(window, code, wParam, lParam);
    }
}

}  // namespace

std::intptr_t OverlayProc(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    if (code == message::mouseMove) {
        NoteOverlayActivity();
    }
    EndLostPress(window, Ui().overlayState, code, wParam);
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

std::uint32_t OverlaySignature() {
    const Settings& settings = CurrentSettings();
    const auto bit = [](bool on, std::uint32_t index) { return on ? 1U << index : 0U; };
    return bit(Ui().capture.captureJobSlot.IsBusy(), 0) | bit(GetRecordingStatus().recording, 1) |
           bit(Engine().replayRunning, 2) | bit(settings.micEnabled, 3) | bit(settings.gameAudioEnabled, 4) |
           bit(Ui().capture.secondsReady >= 1, 5);
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
