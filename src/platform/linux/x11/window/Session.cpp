#include "platform/linux/x11/window/Session.h"

#include <xcb/composite.h>
#include <xcb/randr.h>
#include <xcb/shape.h>
#include <xcb/shm.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "platform/Session.h"
#include "platform/linux/x11/Extensions.h"
#include "platform/linux/x11/PixelFormat.h"
#include "platform/linux/x11/RandrMonitors.h"
#include "platform/linux/x11/XDisplay.h"
#include "platform/linux/x11/XWayland.h"
#include "platform/linux/x11/capture/ExcludedWindows.h"
#include "platform/linux/x11/window/WindowGeometry.h"

namespace zv {
namespace x11 {
namespace {

void SelectDisplayEvents(Session& session) {
    xcb_connection_t* connection = session.connection.get();
    if (!HasExtension(connection, xcb_randr_id)) {
        return;
    }
    session.randrEvent = xcb_get_extension_data(connection, &xcb_randr_id)->first_event;
    xcb_discard_reply(connection, xcb_randr_query_version(connection, 1, 5).sequence);
    xcb_randr_select_input(
        connection, session.screen->root,
        XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE | XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
}

/// Selects property changes of the root for the DPI, and its client messages for new notification areas.
void SelectRootEvents(Session& session) {
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(session.connection.get(), session.screen->root, XCB_CW_EVENT_MASK, &events);
    UpdateDpi(session);
}

}  // namespace

Session& CurrentSession() {
    static Session session;
    return session;
}

AppWindow* WindowOf(Session& session, xcb_window_t id) {
    const auto found = std::find_if(session.windows.begin(), session.windows.end(),
                                    [id](const AppWindow* window) { return window->id == id; });
    return found == session.windows.end() ? nullptr : *found;
}

std::optional<xcb_window_t> SelectionOwner(const Session& session, xcb_atom_t selection) {
    xcb_connection_t* connection = session.connection.get();
    const Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, selection), nullptr));
    return reply ? std::optional(reply->owner) : std::nullopt;
}

xcb_atom_t InternAtom(xcb_connection_t* connection, const std::string& name) {
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

std::string ReadTextProperty(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property) {
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 256), nullptr));
    if (!reply || reply->format != 8) {
        return {};
    }
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

void SendClientMessage(xcb_window_t target, xcb_window_t subject, xcb_atom_t type, std::uint32_t eventMask,
                       std::uint32_t firstDatum) {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = subject;
    event.type = type;
    event.data.data32[0] = firstDatum;
    xcb_connection_t* connection = CurrentSession().connection.get();
    xcb_send_event(connection, 0, target, eventMask, reinterpret_cast<const char*>(&event));
    xcb_flush(connection);
}

std::optional<std::uint32_t> ReadNumberProperty(Session& session, xcb_window_t window, xcb_atom_t property) {
    return NumberProperty({session.connection.get(), session.screen->root, {}}, window, property);
}

std::vector<std::uint32_t> ReadNumbersProperty(Session& session, xcb_window_t window, xcb_atom_t property,
                                               xcb_atom_t type) {
    constexpr std::uint32_t mostUnits = 65536;
    xcb_connection_t* connection = session.connection.get();
    const auto reply = Adopt(xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, window, property, type, 0, mostUnits), nullptr));
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return {first, first + xcb_get_property_value_length(reply.get()) / 4};
}

bool Synchronize(Session& session) {
    xcb_connection_t* connection = session.connection.get();
    return Adopt(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr)) != nullptr;
}

}  // namespace x11

bool OpenSession() {
    x11::BlockEndSignals();
    int number = 0;
    x11::Connection connection(xcb_connect(nullptr, &number));
    const xcb_screen_t* screen = x11::ScreenOf(connection.get(), number);
    if (screen == nullptr) {
        std::fputs("Zorvel needs an X display. Set DISPLAY and start it again.\n", stderr);
        return false;
    }
    if (!x11::IsSupported(connection.get(), *screen)) {
        std::fputs(x11::unsupportedScreen, stderr);
        return false;
    }
    x11::Session& session = x11::CurrentSession();
    session = {};
    x11::ResetExcluded();
    session.connection = std::move(connection);
    x11::HasExtensions(session.connection.get(),
                       {&xcb_shm_id, &xcb_shape_id, &xcb_composite_id, &xcb_xfixes_id, &xcb_randr_id});
    session.screen = screen;
    session.wayland = x11::IsXWayland(session.connection.get(), screen->root);
    session.atoms = x11::InternAtoms(session.connection.get(), number);
    x11::SelectRootEvents(session);
    x11::SelectDisplayEvents(session);
    x11::OpenKeyboard(session);
    return true;
}

TextView CaptureObstacle() {
    return x11::CurrentSession().wayland
               ? u"Zorvel cannot capture the screen of a Wayland session. Choose an X11 (Xorg) session when you log in."
               : TextView();
}

void FlushScreen() {
    x11::Session& session = x11::CurrentSession();
    if (session.connection && x11::Synchronize(session)) {
        // Other programs repaint the windows below. The program cannot synchronize with them.
        constexpr timespec twoRefreshes{0, 34'000'000};
        clock_nanosleep(CLOCK_MONOTONIC, 0, &twoRefreshes, nullptr);
    }
}

}  // namespace zv
