// Creates and destroys windows, and sets their properties.
#include "platform/Window.h"

#include <unistd.h>
#include <xcb/xcb_icccm.h>

#include <algorithm>
#include <array>
#include <climits>
#include <string>
#include <string_view>

#include "platform/Files.h"
#include "platform/Session.h"
#include "platform/linux/x11/window/Session.h"
#include "platform/linux/x11/window/WindowGeometry.h"
#include "platform/linux/x11/window/WindowPixels.h"

namespace zv {
namespace x11 {
namespace {

constexpr std::uint32_t background = 0x111219;  ///< the colour of a window before it is painted

void SetTextProperty(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, const std::string& text) {
    xcb_change_property(CurrentSession().connection.get(), XCB_PROP_MODE_REPLACE, window, property, type, 8,
                        static_cast<std::uint32_t>(text.size()), text.data());
}

void SetNumbers(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, const std::vector<std::uint32_t>& numbers) {
    xcb_change_property(CurrentSession().connection.get(), XCB_PROP_MODE_REPLACE, window, property, type, 32,
                        static_cast<std::uint32_t>(numbers.size()), numbers.data());
}

void SetSizeHints(Session& session, xcb_window_t window, const WindowOptions& options, Point minimum) {
    xcb_size_hints_t hints{};
    if (options.frame != WindowFrame::Full) {
        xcb_icccm_size_hints_set_position(&hints, 1, 0, 0);
    }
    if (minimum.x > 0 || minimum.y > 0) {
        xcb_icccm_size_hints_set_min_size(&hints, std::max(minimum.x, 0), std::max(minimum.y, 0));
    }
    xcb_icccm_set_wm_normal_hints(session.connection.get(), window, &hints);
}

/// Sets the properties that control how a window manager and a compositor treat the window.
void SetKind(const Atoms& atoms, xcb_window_t window, const WindowOptions& options) {
    if (options.frame == WindowFrame::Bare) {
        SetNumbers(window, atoms.netWmWindowType, XCB_ATOM_ATOM, {atoms.netWmWindowTypeNotification});
    } else if (options.frame == WindowFrame::Caption) {
        SetNumbers(window, atoms.netWmWindowType, XCB_ATOM_ATOM, {atoms.netWmWindowTypeDialog});
    }
    std::vector<std::uint32_t> states;
    if (options.topmost) {
        states.push_back(atoms.netWmStateAbove);
    }
    if (options.toolWindow) {
        states.push_back(atoms.netWmStateSkipTaskbar);
    }
    SetNumbers(window, atoms.netWmState, XCB_ATOM_ATOM, states);
    if (options.owner != nullptr) {
        xcb_icccm_set_wm_transient_for(CurrentSession().connection.get(), window, options.owner->id);
    }
    if (options.noActivate) {
        xcb_icccm_wm_hints_t hints{};
        xcb_icccm_wm_hints_set_input(&hints, 0);
        xcb_icccm_set_wm_hints(CurrentSession().connection.get(), window, &hints);
    }
}

void SetWindowProperties(Session& session, xcb_window_t window, const WindowOptions& options) {
    xcb_connection_t* connection = session.connection.get();
    const Atoms& atoms = session.atoms;
    const std::string title = ToPath(options.title).string();
    SetTextProperty(window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, title);
    SetTextProperty(window, atoms.netWmName, atoms.utf8String, title);
    constexpr std::string_view className("zorvel\0Zorvel\0", 14);
    xcb_icccm_set_wm_class(connection, window, static_cast<std::uint32_t>(className.size()), className.data());
    SetTextProperty(window, atoms.windowClass, atoms.utf8String, ToPath(options.className).string());
    std::array<char, HOST_NAME_MAX + 1> host{};
    if (gethostname(host.data(), host.size() - 1) == 0) {
        SetTextProperty(window, XCB_ATOM_WM_CLIENT_MACHINE, XCB_ATOM_STRING, host.data());
    }
    const auto processId = static_cast<std::uint32_t>(getpid());
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atoms.netWmPid, XCB_ATOM_CARDINAL, 32, 1,
                        &processId);
    std::array<xcb_atom_t, 2> protocols{atoms.wmDeleteWindow, atoms.netWmPing};
    xcb_icccm_set_wm_protocols(connection, window, atoms.wmProtocols, static_cast<std::uint32_t>(protocols.size()),
                               protocols.data());
}

xcb_window_t MakeServerWindow(Session& session, const WindowOptions& options) {
    xcb_connection_t* connection = session.connection.get();
    const xcb_window_t id = xcb_generate_id(connection);
    const bool bare = options.frame == WindowFrame::Bare;
    constexpr std::uint32_t events =
        XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_POINTER_MOTION |
        XCB_EVENT_MASK_LEAVE_WINDOW | XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
        XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_FOCUS_CHANGE;
    // A window that grows keeps its picture until it is repainted. A bare window has no background, so that it does not
    // show an empty box over a game before it is painted.
    const std::array<std::uint32_t, 4> values{bare ? std::uint32_t{XCB_BACK_PIXMAP_NONE} : background,
                                              XCB_GRAVITY_NORTH_WEST, bare ? 1U : 0U, events};
    const xcb_void_cookie_t made = xcb_create_window_checked(
        connection, XCB_COPY_FROM_PARENT, id, session.screen->root, static_cast<std::int16_t>(options.left),
        static_cast<std::int16_t>(options.top), static_cast<std::uint16_t>(options.width),
        static_cast<std::uint16_t>(options.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
        (bare ? XCB_CW_BACK_PIXMAP : XCB_CW_BACK_PIXEL) | XCB_CW_BIT_GRAVITY | XCB_CW_OVERRIDE_REDIRECT |
            XCB_CW_EVENT_MASK,
        values.data());
    const Reply<xcb_generic_error_t> error(xcb_request_check(connection, made));
    return error || xcb_connection_has_error(connection) != 0 ? xcb_window_t{XCB_WINDOW_NONE} : id;
}

}  // namespace

/// Sends the message first, because the procedure may use the window, its timers and its keys.
void DestroyAppWindow(AppWindow& window) {
    if (window.destroyed) {
        return;
    }
    window.destroyed = true;
    Session& session = CurrentSession();
    Send(window, message::destroy);
    RemoveMessages(session.loop, window);
    UngrabKeysOf(session, window);
    std::erase(session.windows, &window);
    for (AppWindow* each : session.windows) {
        each->owner = each->owner == &window ? nullptr : each->owner;
    }
    if (session.connection) {
        ReleaseWindowState(session, window);
        ReleasePixels(session, window);
        xcb_destroy_window(session.connection.get(), window.id);
        xcb_flush(session.connection.get());
    }
}

}  // namespace x11

template <>
void Closer<AppWindow>::operator()(AppWindow* window) const noexcept {
    x11::DestroyAppWindow(*window);
    delete window;
}

Owned<AppWindow> MakeWindow(const WindowOptions& options) {
    x11::Session& session = x11::CurrentSession();
    const xcb_window_t id = x11::MakeServerWindow(session, options);
    if (id == XCB_WINDOW_NONE) {
        return nullptr;
    }
    x11::SetWindowProperties(session, id, options);
    x11::SetKind(session.atoms, id, options);
    Owned<AppWindow> window(new AppWindow);
    window->id = id;
    window->procedure = options.procedure;
    window->bare = options.frame == WindowFrame::Bare;
    window->topmost = options.topmost;
    window->owner = options.owner;
    window->width = options.width;
    window->height = options.height;
    window->bounds = {options.left, options.top, options.left + options.width, options.top + options.height};
    session.windows.push_back(window.get());
    if (options.clickThrough) {
        x11::MakeClickThrough(session, *window);
    }
    if (options.cursor) {
        SetCursorShape(*window, *options.cursor);
    }
    SetWindowIcons(*window, options.bigIcon, options.littleIcon);
    MinMaxInfo limits{};
    x11::Send(*window, message::getMinMaxInfo, 0, reinterpret_cast<std::intptr_t>(&limits));
    x11::SetSizeHints(session, id, options, limits.minTrackSize);
    x11::Send(*window, message::create);
    if (options.visible) {
        x11::ShowNewWindow(session, *window);
    }
    xcb_flush(session.connection.get());
    return window;
}

std::intptr_t DefaultProcedure(AppWindow& window, std::uint32_t code, std::uintptr_t, std::intptr_t) {
    if (code == message::close) {
        x11::DestroyAppWindow(window);
    }
    return code == message::hitTest ? hitCode::client : 0;
}

void SetTaskbarIdentity(TextView) {}

}  // namespace zv
