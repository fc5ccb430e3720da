// When the badge is shown, its state and its bounds. Decisions only.
#pragma once

#include <cstdint>

#include "core/Text.h"
#include "platform/FrontWindow.h"
#include "platform/Rectangle.h"
#include "platform/Window.h"

namespace zv {

/// The numbers of BadgeRecord::badgeState.
enum class BadgeState : std::uint32_t { On = 0, Busy = 1, Recording = 2 };

/// The state that the decision depends on.
struct BadgeMoment {
    bool overlayShown = false;
    bool screenshotRuns = false;
    bool recording = false;
    bool replaying = false;
    bool captureJobRuns = false;
    Text monitorDevice;        ///< the captured one; empty: any
    bool frontIsGame = false;  ///< the process in front is a known game
    const FrontWindow* front = nullptr;
};

/// Returns true over a game, or over any window that fills the captured monitor, while a recording or the replay runs.
bool ShowsBadge(const BadgeMoment& moment);

BadgeState BadgeStateOf(const BadgeMoment& moment);

/// Returns true if the window reaches every edge of its monitor, within a tolerance for frames and shadows, and is not
/// the desktop or the task bar.
bool FillsMonitor(const FrontWindow& window);

/// In the upper right corner of the monitor. `dpi` is that of the window in front.
Rectangle BadgeBounds(const Rectangle& monitor, std::int32_t dpi);

}  // namespace zv
