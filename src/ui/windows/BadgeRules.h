// When the capture badge shows, what it says, and where it goes. Decisions only.
#pragma once

#include <cstdint>

#include "core/Text.h"
#include "platform/FrontWindow.h"
#include "platform/Rectangle.h"
#include "platform/Window.h"

namespace zv {

/// In the numbers of UiGlobals::badgeState.
enum class BadgeState : std::uint32_t { On = 0, Busy = 1, Recording = 2 };

/// What the program does at the moment.
struct BadgeMoment {
    bool overlayShown = false;
    bool screenshotRuns = false;
    bool recording = false;
    bool replaying = false;
    bool captureJobRuns = false;
    Text monitorDevice;        ///< the one that is captured; empty: whichever
    bool frontIsGame = false;  ///< its program is a known game
    const FrontWindow* front = nullptr;
};

/// Over a game, or whatever else fills the captured monitor, while something is captured.
bool ShowsBadge(const BadgeMoment& moment);

BadgeState BadgeStateOf(const BadgeMoment& moment);

/// Whether the window reaches every edge of its monitor, give or take what frames and shadows cost, and is none of
/// the desktop's own.
bool FillsMonitor(const FrontWindow& window);

/// In the upper right of the monitor, in the size of the window's DPI.
Rectangle BadgePlace(const Rectangle& monitor, std::int32_t dpi);

}  // namespace zv
