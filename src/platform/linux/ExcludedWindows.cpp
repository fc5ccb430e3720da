#include "platform/linux/ExcludedWindows.h"

#include <algorithm>
#include <atomic>

namespace zv::x11 {
namespace {

std::array<std::atomic<xcb_window_t>, mostExcluded> entered{};

}  // namespace

bool ExcludedWindows::Holds(xcb_window_t window) const {
    const auto end = each.begin() + static_cast<std::ptrdiff_t>(count);
    return std::find(each.begin(), end, window) != end;
}

void EnterExcluded(xcb_window_t window) {
    if (ListExcluded().Holds(window)) {
        return;
    }
    for (std::atomic<xcb_window_t>& place : entered) {
        xcb_window_t none = XCB_WINDOW_NONE;
        if (place.compare_exchange_strong(none, window)) {
            return;
        }
    }
}

void LeaveExcluded(xcb_window_t window) {
    for (std::atomic<xcb_window_t>& place : entered) {
        xcb_window_t expected = window;
        place.compare_exchange_strong(expected, XCB_WINDOW_NONE);
    }
}

ExcludedWindows ListExcluded() {
    ExcludedWindows list;
    for (const std::atomic<xcb_window_t>& place : entered) {
        const xcb_window_t window = place.load();
        if (window != XCB_WINDOW_NONE) {
            list.each[list.count++] = window;
        }
    }
    return list;
}

}  // namespace zv::x11
