// The windows of this program that its own captures must not show.
//
// The interface thread enters a window before it asks the server to show it and takes it out when the server has told
// of its end on the screen; so whoever looks at the list before and after a grab knows every window that can be in it.
#pragma once

#include <xcb/xcb.h>

#include <array>
#include <cstddef>

namespace zv::x11 {

inline constexpr std::size_t mostExcluded = 8;

struct ExcludedWindows {
    std::array<xcb_window_t, mostExcluded> each{};
    std::size_t count = 0;
    bool Holds(xcb_window_t window) const;
};

void EnterExcluded(xcb_window_t window);
void LeaveExcluded(xcb_window_t window);
/// Any thread. Takes no lock and allocates nothing.
ExcludedWindows ListExcluded();

}  // namespace zv::x11
