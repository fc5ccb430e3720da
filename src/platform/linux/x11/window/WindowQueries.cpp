// What the server and the window manager know of monitors and of the window in front.
#include <algorithm>
#include <string>

#include "core/Utf8.h"
#include "platform/Environment.h"
#include "platform/FrontWindow.h"
#include "platform/Monitors.h"
#include "platform/linux/x11/RandrMonitors.h"
#include "platform/linux/x11/WindowOwner.h"
#include "platform/linux/x11/XDisplay.h"
#include "platform/linux/x11/window/Session.h"
#include "platform/linux/x11/window/WindowQueries.h"

namespace zv {
namespace x11 {
namespace {

/// The part of the screen that panels do not cover. Nothing without a window manager that publishes it.
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

/// The monitor that shows most of `part`, or the primary one.
MonitorEntry MonitorOf(Session& session, const Rectangle& part) {
    const std::vector<ScreenMonitor> monitors = QueryMonitors(session.connection.get(), session.screen->root);
    const ScreenMonitor* best = nullptr;
    std::int64_t most = 0;
    for (const ScreenMonitor& monitor : monitors) {
        const std::int64_t pixels = Intersection(monitor.output.bounds, part).Area();
        if (pixels > most || (best == nullptr && monitor.primary)) {
            best = &monitor;
            most = pixels;
        }
    }
    return best != nullptr ? EntryOf(*best) : MonitorEntry{};
}

Rectangle BoundsOf(xcb_connection_t* connection, xcb_window_t window) {
    const Reply<xcb_get_geometry_reply_t> place(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr));
    if (!place) {
        return {};
    }
    const int border = 2 * place->border_width;
    return {place->x, place->y, place->x + place->width + border, place->y + place->height + border};
}

/// The desktop's own windows go by the names that Windows has for them, everybody else's by the name of their class.
Text ClassNameOf(Session& session, xcb_window_t window) {
    const auto type = ReadNumberProperty(session, window, session.atoms.netWmWindowType);
    if (type && *type == session.atoms.netWmWindowTypeDesktop) {
        return u"Progman";
    }
    if (type && *type == session.atoms.netWmWindowTypeDock) {
        return u"Shell_TrayWnd";
    }
    std::string names = ReadTextProperty(session.connection.get(), window, XCB_ATOM_WM_CLASS);
    const std::size_t end = names.find('\0');
    names.erase(0, end == std::string::npos ? 0 : end + 1);
    names.erase(std::min(names.find('\0'), names.size()));
    return FromUtf8(names);
}

}  // namespace

Rectangle MonitorBoundsAt(Session& session, Point point) {
    return MonitorOf(session, {point.x, point.y, point.x + 1, point.y + 1}).Bounds();
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

std::optional<FrontWindow> LookUpFrontWindow() {
    x11::Session& session = x11::CurrentSession();
    const XDisplay display{session.connection.get(), session.screen->root};
    const xcb_window_t window = ActiveWindow(display);
    if (window == XCB_WINDOW_NONE) {
        return std::nullopt;
    }
    FrontWindow front;
    front.processId = ProcessOfWindow(display, window);
    front.ours = front.processId == OwnProcessId();
    front.bounds = x11::BoundsOf(display.connection, x11::TopLevelOf(display.connection, display.root, window));
    front.className = x11::ClassNameOf(session, window);
    front.dpi = session.dpi;
    front.monitor = x11::MonitorOf(session, front.bounds);
    return front;
}

}  // namespace zv
