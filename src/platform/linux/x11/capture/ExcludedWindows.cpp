#include "platform/linux/x11/capture/ExcludedWindows.h"

#include <algorithm>
#include <atomic>
#include <limits>

#include "platform/linux/posix/Posix.h"

namespace zv::x11 {
namespace {

constexpr std::size_t mostNotes = 32;
constexpr std::int64_t never = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t stillThere = std::numeric_limits<std::int64_t>::max();

/// Written by the interface thread alone. A reader that comes in between sees a place too many, never one too few:
/// `place` is written before `untilNs` and read before it.
struct Note {
    xcb_window_t window = XCB_WINDOW_NONE;      ///< for the interface thread only
    std::atomic<std::uint64_t> place = 0;       ///< packed: the protocol's coordinates have 16 bits each
    std::atomic<std::int64_t> untilNs = never;  ///< when the window left it
};

std::array<std::atomic<xcb_window_t>, mostExcluded> entered{};
std::array<Note, mostNotes> notes{};

std::uint64_t Packed(const Rectangle& place) {
    std::uint64_t packed = 0;
    for (const std::int32_t edge : {place.left, place.top, place.right, place.bottom}) {
        const std::int32_t fitting = std::clamp<std::int32_t>(edge, std::numeric_limits<std::int16_t>::min(),
                                                              std::numeric_limits<std::int16_t>::max());
        packed = packed << 16U | static_cast<std::uint16_t>(fitting);
    }
    return packed;
}

Rectangle Unpacked(std::uint64_t packed) {
    const auto edge = [packed](unsigned shift) { return std::int32_t{static_cast<std::int16_t>(packed >> shift)}; };
    return {edge(48), edge(32), edge(16), edge(0)};
}

auto LongestLeft() {
    return std::min_element(notes.begin(), notes.end(),
                            [](const Note& a, const Note& b) { return a.untilNs < b.untilNs; });
}

/// The window has left every place but `kept`.
void LeavePlaces(xcb_window_t window, const Note* kept) {
    const std::int64_t nowNs = MonotonicNs();
    for (Note& each : notes) {
        if (&each != kept && each.window == window && each.untilNs == stillThere) {
            each.untilNs = nowNs;
        }
    }
}

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

void NotePlace(xcb_window_t window, const Rectangle& place) {
    const std::uint64_t packed = Packed(place);
    auto note = std::find_if(notes.begin(), notes.end(),
                             [&](const Note& each) { return each.window == window && each.place == packed; });
    if (note == notes.end()) {
        note = LongestLeft();
        const bool counts = note->untilNs >= MonotonicNs() - lingerNs;
        note->place = counts ? Packed(BoxAround(Unpacked(note->place), place)) : packed;
        note->window = window;
    }
    note->untilNs = stillThere;
    LeavePlaces(window, &*note);
}

void NoteGone(xcb_window_t window) { LeavePlaces(window, nullptr); }

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

Damage PlacesSince(std::int64_t sinceNs, const Rectangle& area) {
    Damage found;
    for (const Note& each : notes) {
        const std::uint64_t place = each.place;
        const std::int64_t untilNs = each.untilNs;
        if (untilNs >= sinceNs - lingerNs) {
            found.Add(Intersection(area, Unpacked(place)));
        }
    }
    return found;
}

}  // namespace zv::x11
