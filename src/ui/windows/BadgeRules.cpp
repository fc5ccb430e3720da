#include "ui/windows/BadgeRules.h"

#include <algorithm>
#include <iterator>

namespace zv {
namespace {

constexpr TextView shellClasses[] = {u"Progman", u"WorkerW", u"Shell_TrayWnd"};

/// value * dpi / 96, rounded to the nearest.
std::int32_t AtDpi(std::int32_t value, std::int32_t dpi) { return (value * dpi + 48) / 96; }

bool IsCandidate(const BadgeMoment& moment) {
    const FrontWindow* front = moment.front;
    if (front == nullptr || front->processId == 0 || front->kind == FrontKind::Own) {
        return false;
    }
    const bool otherMonitor = !moment.monitorDevice.empty() && moment.monitorDevice != front->monitor.deviceName;
    return !moment.overlayShown && !moment.screenshotRuns && !otherMonitor && (moment.recording || moment.replaying);
}

}  // namespace

bool ShowsBadge(const BadgeMoment& moment) {
    return IsCandidate(moment) && (moment.frontIsGame || FillsMonitor(*moment.front));
}

BadgeState BadgeStateOf(const BadgeMoment& moment) {
    if (moment.recording) {
        return BadgeState::Recording;
    }
    return moment.captureJobRuns ? BadgeState::Busy : BadgeState::On;
}

bool FillsMonitor(const FrontWindow& window) {
    constexpr std::int32_t tolerance = 8;
    const Rectangle& bounds = window.bounds;
    const Rectangle monitor = window.monitor.Bounds();
    const bool reachesEdges = bounds.left <= monitor.left + tolerance && bounds.top <= monitor.top + tolerance &&
                              bounds.right >= monitor.right - tolerance && bounds.bottom >= monitor.bottom - tolerance;
    return reachesEdges &&
           std::find(std::begin(shellClasses), std::end(shellClasses), window.className) == std::end(shellClasses);
}

Rectangle BadgeBounds(const Rectangle& monitor, std::int32_t dpi) {
    constexpr std::int32_t fromRight = 18;
    constexpr std::int32_t fromTop = 80;
    const std::int32_t right = monitor.right - fromRight;
    const std::int32_t top = monitor.top + fromTop;
    return {right - AtDpi(90, dpi), top, right, top + AtDpi(32, dpi)};
}

}  // namespace zv
