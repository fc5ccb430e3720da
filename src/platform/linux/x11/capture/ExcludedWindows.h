// The windows of this program that its own captures must not show, and the bounds in which the screen may show them.
//
// The interface thread registers a window when it is excluded and unregisters it after the server has destroyed it. It
// records all bounds before it sends them to the server. So the records that a capture reads after a grab include all
// bounds that the image can show: a window may move twice during one grab, and a compositing manager may still paint a
// window at its previous bounds.
//
// It also publishes the backdrop: a pixmap of the root's size with what the screen showed in the bounds of each window
// before it was shown there.
#pragma once

#include <xcb/xcb.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/software/Damage.h"

namespace zv::x11 {

inline constexpr std::size_t mostExcluded = 8;

/// How long bounds stay recorded after the window has left them: longer than a compositing manager shows it, also one
/// that draws on a busy processor.
inline constexpr std::int64_t lingerNs = 1'000'000'000;

struct ExcludedWindows {
    std::array<xcb_window_t, mostExcluded> each{};
    std::size_t count = 0;
    bool Holds(xcb_window_t window) const;
};

// The interface thread only.

/// Forgets what an earlier session has registered, recorded and published: it belongs to another display.
void ResetExcluded();
void RegisterExcluded(xcb_window_t window);
void UnregisterExcluded(xcb_window_t window);
/// Called before the window is shown at these bounds or moves to them. In the root's coordinates. XCB_WINDOW_NONE
/// stands for what a compositor shows because of our windows.
void RecordBounds(xcb_window_t window, const Rectangle& bounds);
/// Called after the server has unmapped or destroyed the window.
void RecordHidden(xcb_window_t window);
/// Called after the server has copied the screen to the backdrop, and with XCB_NONE before the backdrop is freed.
void PublishBackdrop(xcb_pixmap_t backdrop);

// Any thread. No lock and no allocation.

/// Lists all registered windows, shown and hidden.
ExcludedWindows ListExcluded();
/// The parts of `area` in which the screen may have shown one of them since `sinceNs` of the steady clock.
Damage BoundsSince(std::int64_t sinceNs, const Rectangle& area);
/// XCB_NONE if there is none. It has the root's depth and visual.
xcb_pixmap_t Backdrop();

}  // namespace zv::x11
