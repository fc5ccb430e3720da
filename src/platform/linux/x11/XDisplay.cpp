#include "platform/linux/x11/XDisplay.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <string>
#include <string_view>

#include "platform/linux/posix/EnvironmentLock.h"
#include "platform/linux/x11/RandrMonitors.h"

namespace zv {
namespace {

struct ThreadConnection {
    x11::Connection connection;
    std::string name;
    xcb_window_t root = 0;
    FrontAtoms atoms;
};

std::string DisplayName() {
    const std::lock_guard guard(EnvironmentLock());
    const char* name = std::getenv("DISPLAY");
    return name != nullptr ? name : "";
}

FrontAtoms ReadAtoms(xcb_connection_t* connection) {
    constexpr std::string_view names[] = {"_NET_ACTIVE_WINDOW", "_NET_WM_PID", "_NET_WM_WINDOW_TYPE",
                                          "_NET_WM_WINDOW_TYPE_DESKTOP", "_NET_WM_WINDOW_TYPE_DOCK"};
    std::array<xcb_intern_atom_cookie_t, std::size(names)> cookies{};
    std::transform(std::begin(names), std::end(names), cookies.begin(), [&](std::string_view name) {
        return xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    });
    std::array<xcb_atom_t, std::size(names)> atoms{};
    std::transform(cookies.begin(), cookies.end(), atoms.begin(), [&](xcb_intern_atom_cookie_t cookie) {
        const auto reply = Adopt(xcb_intern_atom_reply(connection, cookie, nullptr));
        return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    });
    return {atoms[0], atoms[1], atoms[2], atoms[3], atoms[4]};
}

void Connect(ThreadConnection& thread, const std::string& name) {
    int number = 0;
    thread.name = name;
    thread.connection.reset(xcb_connect(name.c_str(), &number));
    const xcb_screen_t* screen = x11::ScreenOf(thread.connection.get(), number);
    if (screen == nullptr) {
        thread.connection.reset();
        return;
    }
    thread.root = screen->root;
    thread.atoms = ReadAtoms(thread.connection.get());
}

/// Returns true if the server replies. Discards the events that the server sends to every client.
bool IsAlive(xcb_connection_t* connection) {
    const auto focus = Adopt(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    while (Adopt(xcb_poll_for_event(connection))) {
    }
    return focus != nullptr && xcb_connection_has_error(connection) == 0;
}

}  // namespace

std::optional<XDisplay> ThreadDisplay() {
    thread_local ThreadConnection thread;
    const std::string name = DisplayName();
    if (name.empty()) {
        return std::nullopt;
    }
    if (!thread.connection || thread.name != name || !IsAlive(thread.connection.get())) {
        Connect(thread, name);
    }
    if (!thread.connection || thread.root == 0) {
        return std::nullopt;
    }
    return XDisplay{thread.connection.get(), thread.root, thread.atoms};
}

std::optional<std::uint32_t> NumberProperty(const XDisplay& display, xcb_window_t window, xcb_atom_t property) {
    const auto cookie = xcb_get_property(display.connection, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 1);
    const auto reply = Adopt(xcb_get_property_reply(display.connection, cookie, nullptr));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4) {
        return std::nullopt;
    }
    return *static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
}

}  // namespace zv
