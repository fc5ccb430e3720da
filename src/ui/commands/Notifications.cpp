#include "ui/commands/Notifications.h"

#include <optional>
#include <utility>

#include "core/Settings.h"
#include "platform/Monitors.h"
#include "platform/Window.h"
#include "ui/commands/ToastRules.h"
#include "ui/state/UiGlobals.h"
#include "video/Monitors.h"

namespace zv {
namespace {

/// Of the captured monitor. If it is disconnected, of the monitor at the desktop's origin.
Rectangle WorkAreaOfCapture() {
    const std::optional<MonitorEntry> monitor = ResolveMonitor(CurrentSettings().monitorDevice);
    return WorkAreaAt(monitor ? Point{monitor->left, monitor->top} : Point{});
}

}  // namespace

void ShowToastForStatus(const Text& status) {
    Toast toast = ToastTextForStatus(status);
    if (!toast.text.empty()) {
        ShowToast(std::move(toast));
    }
}

void ShowToast(Toast toast) {
    UiGlobals& ui = Ui();
    if (ui.toastWindow == nullptr || !CurrentSettings().notifications) {
        return;
    }
    ui.toast = std::move(toast);
    const std::int32_t dpi = ui.mainWindow != nullptr ? DpiOfWindow(*ui.mainWindow) : 96;
    ShowTopmostAt(*ui.toastWindow, ToastBounds(WorkAreaOfCapture(), dpi));
    InvalidateWindow(*ui.toastWindow);
    StartTimer(*ui.toastWindow, toastTimer, toastPeriodMs);
}

bool IsToastShown() { return Ui().toastWindow != nullptr && IsWindowShown(*Ui().toastWindow); }

void HideToast() {
    AppWindow* window = Ui().toastWindow;
    if (window != nullptr) {
        HideWindow(*window);
        StopTimer(*window, toastTimer);
    }
}

}  // namespace zv
