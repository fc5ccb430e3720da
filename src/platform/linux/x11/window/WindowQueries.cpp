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
    constexpr std::uint32_t oneDesktop = 4;
    xcb_connection_t* connection = session.connection.get();
    const Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(connection,
                               xcb_get_property(connection, 0, session.screen->root, session.atoms.netWorkarea,
                                                XCB_ATOM_CARDINAL, 0, oneDesktop),
                               nullptr));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 16) {
        return std::nullopt;
    }
    const auto* numbers = static_cast<const std::int32_t*>(xcb_get_property_value(reply.get()));
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
