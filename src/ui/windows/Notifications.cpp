#include "ui/windows/Notifications.h"

#include <optional>
#include <utility>

#include "core/Settings.h"
#include "platform/Monitors.h"
#include "ui/kit/Colors.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/Icons.h"
#include "ui/kit/SmallWindow.h"
#include "ui/state/UiGlobals.h"
#include "video/Monitors.h"

namespace zv {
namespace {

constexpr std::int32_t stripeWidth = 4;
constexpr double iconScale = 0.48;
constexpr PointF iconCentre{37, 38};
constexpr Rectangle textBox{68, 8, 314, 68};

/// Of the monitor that is captured, else of the one that holds the desktop's origin.
Rectangle WorkAreaOfCapture() {
    const std::optional<MonitorEntry> monitor = ResolveMonitor(CurrentSettings().monitorDevice);
    return MonitorAt(monitor ? Point{monitor->left, monitor->top} : Point{}).work;
}

void DrawToast(Canvas& canvas, const Rectangle& client) {
    const Toast& toast = Ui().toast;
    const Color accent = Ui().accentColor;
    PushTransform(canvas, {}, static_cast<double>(client.Width()) / toastWidth);
    FillBox(canvas, {0, 0, toastWidth, toastHeight}, color::toast);
    FillBox(canvas, {0, 0, stripeWidth, toastHeight}, accent);
    PushTransform(canvas, iconCentre, iconScale);
    DrawVectorIcon(canvas, 0, 0, static_cast<IconKind>(toast.kind), accent);
    PopTransform(canvas);
    DrawTextLine(canvas, textBox, toast.text, color::primaryText, FontRole::Small);
    PopTransform(canvas);
}

}  // namespace

void ShowToastForStatus(const Text& status) {
    UiGlobals& ui = Ui();
    if (ui.toastWindow == nullptr || !CurrentSettings().notifications) {
        return;
    }
    Toast toast = ToastTextForStatus(status);
    if (toast.text.empty()) {
        return;
    }
    ui.toast = std::move(toast);
    const std::int32_t dpi = ui.mainWindow != nullptr ? DpiOfWindow(*ui.mainWindow) : 96;
    ShowTopmostAt(*ui.toastWindow, ToastPlace(WorkAreaOfCapture(), dpi));
    InvalidateWindow(*ui.toastWindow);
    StartTimer(*ui.toastWindow, toastTimer, toastPeriodMs);
}

void HideToast() {
    AppWindow* window = Ui().toastWindow;
    if (window != nullptr) {
        HideWindow(*window);
        StopTimer(*window, toastTimer);
    }
}

std::intptr_t ToastProc(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    if (const std::optional<std::intptr_t> answer = ClickThroughAnswer(code)) {
        return *answer;
    }
    switch (code) {
        case message::create:
            Ui().toastWindow = &window;
            return 0;
        case message::destroy:
            Ui().toastWindow = nullptr;
            return 0;
        case message::timer:
            if (wParam == toastTimer) {
                HideToast();
            }
            return 0;
        case message::paint:
            PaintSmallWindow(window, DrawToast);
            return 0;
        default:
            return DefaultProcedure(window, code, wParam, lParam);
    }
}

}  // namespace zv
