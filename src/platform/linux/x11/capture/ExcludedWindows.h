// The windows of this program that its own captures must not show, and the places where the screen may show them.
//
// The interface thread enters a window once it is to be kept out, until the server has forgotten it, and notes every
// place before it asks the server to put the window there. Only so does whoever looks at the notes after a grab know
// all that can be in it: a window may move twice while one grab is under way, and what the server has carried out long
// ago may still be on the screen, which a compositing manager paints in its own time.
#pragma once

#include <xcb/xcb.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/software/Damage.h"

namespace zv::x11 {

inline constexpr std::size_t mostExcluded = 8;

/// A place counts for so long after its window has left it: many times what a compositing manager is late by.
inline constexpr std::int64_t lingerNs = 250'000'000;

struct ExcludedWindows {
    std::array<xcb_window_t, mostExcluded> each{};
    std::size_t count = 0;
    bool Holds(xcb_window_t window) const;
};

// The interface thread only.

void EnterExcluded(xcb_window_t window);
void LeaveExcluded(xcb_window_t window);
/// The window is about to be shown there, or to move there from where it was. In the root's coordinates.
void NotePlace(xcb_window_t window, const Rectangle& place);
/// The screen's server does not show the window any more.
void NoteGone(xcb_window_t window);

// Any thread. These take no lock and allocate nothing.

/// Also the hidden ones.
ExcludedWindows ListExcluded();
/// Where the screen may have shown one of them at any time since `sinceNs` of the steady clock, inside `area`.
Damage PlacesSince(std::int64_t sinceNs, const Rectangle& area);

}  // namespace zv::x11
