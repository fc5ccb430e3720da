#include "ui/windows/Badge.h"

#include <optional>

#include "core/Settings.h"
#include "library/GameName.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/kit/DrawingContext.h"
#include "ui/kit/SmallWindow.h"
#include "ui/navigation/Navigation.h"
#include "ui/state/Engine.h"
#include "ui/state/UiGlobals.h"
#include "ui/windows/BadgeRules.h"

namespace zv {
namespace {

/// Decides once for each process that comes to the front whether it is a known game.
void RefreshFrontProcess(const FrontWindow& front) {
    BadgeRecord& badge = Ui().badge;
    if (front.processId != badge.processId) {
        badge.processId = front.processId;
        badge.processIsKnownGame = IsKnownGame(front.imagePath);
    }
}

BadgeMoment CurrentMoment(const FrontWindow& front) {
    UiGlobals& ui = Ui();
    BadgeMoment moment;
    moment.overlayShown = IsOverlayShown();
    moment.screenshotRuns = ui.screenshot.screenshotSlot.IsBusy();
    moment.recording = GetRecordingStatus().recording;
    moment.replaying = Engine().replayRunning;
    moment.captureJobRuns = ui.capture.captureJobSlot.IsBusy();
    moment.monitorDevice = CurrentSettings().monitorDevice;
    moment.frontIsGame = ui.badge.processIsKnownGame;
    moment.front = &front;
    return moment;
}

void DrawBadge(Canvas& canvas, const Rectangle& client) {
    const BadgeState state = BadgeStateOf(CurrentMoment({}));
    const Color accent = Drawing().accentColor;
    const std::int32_t middle = client.right / 2;
    const Rectangle right{middle, 0, client.right - 3, client.bottom};
    FillBox(canvas, client, color::badge);
    DrawCentredText(canvas, {2, 0, middle, client.bottom}, u"ZV", accent, FontRole::Bold);
    if (state == BadgeState::Recording) {
        DrawCentredText(canvas, right, u"REC", color::badgeRecording, FontRole::Small);
    } else {
        DrawCentredText(canvas, right, state == BadgeState::Busy ? u"..." : u"ON", accent, FontRole::Small);
    }
}

}  // namespace

void UpdateBadge(const FrontWindow& front) {
    UiGlobals& ui = Ui();
    if (ui.badgeWindow == nullptr) {
        return;
    }
    RefreshFrontProcess(front);
    const BadgeMoment moment = CurrentMoment(front);
    if (!ShowsBadge(moment)) {
        HideBadge();
        return;
    }
    ShowTopmostAt(*ui.badgeWindow, BadgeBounds(front.monitor.Bounds(), front.dpi));
    const auto state = static_cast<std::uint32_t>(BadgeStateOf(moment));
    if (state != ui.badge.badgeState) {
        ui.badge.badgeState = state;
        InvalidateWindow(*ui.badgeWindow);
    }
}

std::intptr_t BadgeProc(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    if (const std::optional<std::intptr_t> answer = ClickThroughAnswer(code)) {
        return *answer;
    }
    switch (code) {
        case message::create:
            Ui().badgeWindow = &window;
            return 0;
        case message::destroy:
            Ui().badgeWindow = nullptr;
            return 0;
        case message::paint:
            PaintSmallWindow(window, DrawBadge);
            return 0;
        default:
            return DefaultProcedure(window, code, wParam, lParam);
    }
}

}  // namespace zv
