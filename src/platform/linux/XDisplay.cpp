#include "XDisplay.h"

#include <cstdint>
#include <string>

#include "EnvironmentLock.h"

namespace zv {
namespace {

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

struct Kept {
    std::unique_ptr<xcb_connection_t, Disconnect> connection;
    std::string name;
    xcb_window_t root = 0;
};

std::string DisplayName() {
    const std::lock_guard guard(EnvironmentLock());
    const char* name = std::getenv("DISPLAY");
    return name != nullptr ? name : "";
}

xcb_window_t RootOf(xcb_connection_t* connection, int screen) {
    xcb_screen_iterator_t at = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (; at.rem > 0 && screen > 0; --screen) {
        xcb_screen_next(&at);
    }
    return at.rem > 0 ? at.data->root : 0;
}

void Connect(Kept& kept, const std::string& name) {
    int screen = 0;
    kept.name = name;
    kept.connection.reset(xcb_connect(name.c_str(), &screen));
    if (xcb_connection_has_error(kept.connection.get()) != 0) {
        kept.connection.reset();
        return;
    }
    kept.root = RootOf(kept.connection.get(), screen);
}

/// Asks for nothing but an answer, and throws away the events that every client gets.
bool Answers(xcb_connection_t* connection) {
    const auto focus = Held(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    while (Held(xcb_poll_for_event(connection))) {
    }
    return focus != nullptr && xcb_connection_has_error(connection) == 0;
}

}  // namespace

std::optional<XDisplay> ThreadDisplay() {
    thread_local Kept kept;
    const std::string name = DisplayName();
    if (name.empty()) {
        return std::nullopt;
    }
    if (!kept.connection || kept.name != name || !Answers(kept.connection.get())) {
        Connect(kept, name);
    }
    if (!kept.connection || kept.root == 0) {
        return std::nullopt;
    }
    return XDisplay{kept.connection.get(), kept.root};
}

xcb_atom_t ExistingAtom(const XDisplay& display, std::string_view name) {
    const auto cookie = xcb_intern_atom(display.connection, 1, static_cast<std::uint16_t>(name.size()), name.data());
    const auto reply = Held(xcb_intern_atom_reply(display.connection, cookie, nullptr));
    return reply ? reply->atom : 0;
}

std::optional<std::uint32_t> NumberProperty(const XDisplay& display, xcb_window_t window, std::string_view name) {
    const xcb_atom_t atom = ExistingAtom(display, name);
    if (atom == 0) {
        return std::nullopt;
    }
    const auto cookie = xcb_get_property(display.connection, 0, window, atom, XCB_GET_PROPERTY_TYPE_ANY, 0, 1);
    const auto reply = Held(xcb_get_property_reply(display.connection, cookie, nullptr));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4) {
        return std::nullopt;
    }
    return *static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
}

}  // namespace zv
