#include "platform/linux/x11/capture/ExcludedWindows.h"

#include <algorithm>
#include <atomic>
#include <limits>

#include "platform/linux/posix/Posix.h"

namespace zv::x11 {
namespace {

constexpr std::size_t mostRecords = 32;
constexpr std::int64_t never = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t stillShown = std::numeric_limits<std::int64_t>::max();

/// Only the interface thread writes it. A concurrent reader may see additional bounds but misses none, because `packed`
/// is both written and read before `untilNs`.
struct BoundsRecord {
    xcb_window_t window = XCB_WINDOW_NONE;      ///< interface thread only
    std::atomic<std::uint64_t> packed = 0;      ///< the bounds; the protocol's coordinates have 16 bits each
    std::atomic<std::int64_t> untilNs = never;  ///< when the window left them
};

std::array<std::atomic<xcb_window_t>, mostExcluded> registered{};
std::array<BoundsRecord, mostRecords> records{};
std::atomic<xcb_pixmap_t> publishedBackdrop = XCB_NONE;

std::uint64_t Packed(const Rectangle& bounds) {
    std::uint64_t packed = 0;
    for (const std::int32_t edge : {bounds.left, bounds.top, bounds.right, bounds.bottom}) {
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

auto OldestRecord() {
    return std::min_element(records.begin(), records.end(),
                            [](const BoundsRecord& a, const BoundsRecord& b) { return a.untilNs < b.untilNs; });
}

/// Records that the window has left all its bounds except `kept`.
void EndRecords(xcb_window_t window, const BoundsRecord* kept) {
    const std::int64_t nowNs = MonotonicNs();
    for (BoundsRecord& each : records) {
        if (&each != kept && each.window == window && each.untilNs == stillShown) {
            each.untilNs = nowNs;
        }
    }
}

}  // namespace

bool ExcludedWindows::Holds(xcb_window_t window) const {
    const auto end = each.begin() + static_cast<std::ptrdiff_t>(count);
    return std::find(each.begin(), end, window) != end;
}

void ResetExcluded() {
    publishedBackdrop = XCB_NONE;
    for (std::atomic<xcb_window_t>& slot : registered) {
        slot = XCB_WINDOW_NONE;
    }
    for (BoundsRecord& each : records) {
        each.window = XCB_WINDOW_NONE;
        each.untilNs = never;
    }
}

void RegisterExcluded(xcb_window_t window) {
    if (ListExcluded().Holds(window)) {
        return;
    }
    for (std::atomic<xcb_window_t>& slot : registered) {
        xcb_window_t none = XCB_WINDOW_NONE;
        if (slot.compare_exchange_strong(none, window)) {
            return;
        }
    }
}

void UnregisterExcluded(xcb_window_t window) {
    for (std::atomic<xcb_window_t>& slot : registered) {
        xcb_window_t expected = window;
        slot.compare_exchange_strong(expected, XCB_WINDOW_NONE);
    }
}

void RecordBounds(xcb_window_t window, const Rectangle& bounds) {
    const std::uint64_t packed = Packed(bounds);
    auto record = std::find_if(records.begin(), records.end(), [&](const BoundsRecord& each) {
        return each.window == window && each.packed == packed;
    });
    if (record == records.end()) {
        record = OldestRecord();
        const bool counts = record->untilNs >= MonotonicNs() - lingerNs;
        record->packed = counts ? Packed(BoundingBox(Unpacked(record->packed), bounds)) : packed;
        record->window = window;
    }
    record->untilNs = stillShown;
    EndRecords(window, &*record);
}

void RecordHidden(xcb_window_t window) { EndRecords(window, nullptr); }

void PublishBackdrop(xcb_pixmap_t backdrop) { publishedBackdrop = backdrop; }

xcb_pixmap_t Backdrop() { return publishedBackdrop; }

ExcludedWindows ListExcluded() {
    ExcludedWindows list;
    for (const std::atomic<xcb_window_t>& slot : registered) {
        const xcb_window_t window = slot.load();
        if (window != XCB_WINDOW_NONE) {
            list.each[list.count++] = window;
        }
    }
    return list;
}

Damage BoundsSince(std::int64_t sinceNs, const Rectangle& area) {
    Damage found;
    for (const BoundsRecord& each : records) {
        const std::uint64_t packed = each.packed;
        const std::int64_t untilNs = each.untilNs;
        if (untilNs >= sinceNs - lingerNs) {
            found.Add(Intersection(area, Unpacked(packed)));
        }
    }
    return found;
}

}  // namespace zv::x11
