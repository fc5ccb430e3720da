// Queries about frames, monitors and the work area.
#include "platform/linux/x11/window/WindowQueries.h"
#include "platform/Monitors.h"
#include "platform/linux/x11/RandrMonitors.h"
#include "platform/linux/x11/XDisplay.h"
#include "platform/linux/x11/window/Session.h"

namespace zv {
namespace x11 {
namespace {

/// The part of the screen that panels do not cover; nullopt if the window manager does not publish it.
std::optional<Rectangle> WorkArea(Session& session) {
    const std::vector<std::uint32_t> units =
        ReadNumbersProperty(session, session.screen->root, session.atoms.netWorkarea, XCB_ATOM_CARDINAL);
    if (units.size() < 4) {
        return std::nullopt;
    }
    const std::vector<std::int32_t> numbers(units.begin(), units.begin() + 4);
    return Rectangle{numbers[0], numbers[1], numbers[0] + numbers[2], numbers[1] + numbers[3]};
}

}  // namespace

Rectangle MonitorBoundsAt(Session& session, Point point) {
    const Rectangle pixel{point.x, point.y, point.x + 1, point.y + 1};
    return MonitorShowing(QueryMonitors(session.connection.get(), session.screen->root), pixel).Bounds();
}

xcb_window_t TopLevelOf(xcb_connection_t* connection, xcb_window_t root, xcb_window_t window) {
    while (true) {
        const Reply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr));
        if (!tree || tree->parent == root || tree->parent == XCB_WINDOW_NONE) {
            return window;
        }
        window = tree->parent;
    }
}

}  // namespace x11

Rectangle WorkAreaAt(Point point) {
    x11::Session& session = x11::CurrentSession();
    const Rectangle monitor = x11::MonitorBoundsAt(session, point);
    const Rectangle work = Intersection(monitor, x11::WorkArea(session).value_or(monitor));
    return work.IsEmpty() ? monitor : work;
}

}  // namespace zv
