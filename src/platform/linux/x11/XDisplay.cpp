#include "platform/linux/x11/XDisplay.h"

#include <cstdlib>
#include <string>

#include "platform/linux/posix/EnvironmentLock.h"
#include "platform/linux/x11/RandrMonitors.h"

namespace zv {
namespace {

struct ThreadConnection {
    x11::Connection connection;
    std::string name;
    xcb_window_t root = 0;
};

std::string DisplayName() {
    const std::lock_guard guard(EnvironmentLock());
    const char* name = std::getenv("DISPLAY");
    return name != nullptr ? name : "";
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
}

/// Returns true if the server replies. Discards the events that every client gets.
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
    return XDisplay{thread.connection.get(), thread.root};
}

xcb_atom_t ExistingAtom(const XDisplay& display, std::string_view name) {
    const auto cookie = xcb_intern_atom(display.connection, 1, static_cast<std::uint16_t>(name.size()), name.data());
    const auto reply = Adopt(xcb_intern_atom_reply(display.connection, cookie, nullptr));
    return reply ? reply->atom : 0;
}

std::optional<std::uint32_t> NumberProperty(const XDisplay& display, xcb_window_t window, xcb_atom_t property) {
    const auto cookie = xcb_get_property(display.connection, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 1);
    const auto reply = Adopt(xcb_get_property_reply(display.connection, cookie, nullptr));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4) {
        return std::nullopt;
    }
    return *static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
}

std::optional<std::uint32_t> NumberProperty(const XDisplay& display, xcb_window_t window, std::string_view name) {
    const xcb_atom_t atom = ExistingAtom(display, name);
    return atom == 0 ? std::nullopt : NumberProperty(display, window, atom);
}

}  // namespace zv
