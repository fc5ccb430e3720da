#include "platform/linux/x11/window/WindowGeometry.h"

#include <xcb/xcb_icccm.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

#include "platform/Window.h"
#include "platform/linux/cairo/IconPixels.h"
#include "platform/linux/x11/capture/ExcludedWindows.h"
#include "platform/linux/x11/window/Redirection.h"
#include "platform/linux/x11/window/Session.h"
#include "platform/linux/x11/window/WindowStacking.h"

namespace zv {
namespace x11 {
namespace {

/// Called before the server maps the window.
void PrepareShow(Session& session, AppWindow& window) {
    if (window.shown) {
        return;
    }
    if (window.excluded) {
        KeepOccludedContent(session, window.bounds);
        RecordBounds(window.id, window.bounds);
        MaskTransition(session, window.bounds);
    }
    Send(window, message::showWindow, 1);
    window.shown = true;
    window.mustPaint = true;
}

void MapWindow(Session& session, AppWindow& window) {
    if (window.topmost && window.bare) {
        Raise(session, window);
    }
    xcb_map_window(session.connection.get(), window.id);
    window.mustMap = false;
    if (window.topmost) {
        SelectStackingEvents(session);
    }
    xcb_flush(session.connection.get());
}

/// Sets how the window manager shows the window when it is mapped next.
void SetInitialState(Session& session, const AppWindow& window, xcb_icccm_wm_state_t state) {
    xcb_icccm_wm_hints_t hints{};
    if (state == XCB_ICCCM_WM_STATE_ICONIC) {
        xcb_icccm_wm_hints_set_iconic(&hints);
    } else {
        xcb_icccm_wm_hints_set_normal(&hints);
    }
    xcb_icccm_set_wm_hints(session.connection.get(), window.id, &hints);
}

void HandleUnmapped(Session& session, AppWindow& window) {
    window.viewable = false;
    if (session.input.mouseCapture == &window) {
        ReleaseMouse(window);
    }
    if (!window.shown) {
        RecordHidden(window.id);
        SelectStackingEvents(session);
    }
}

void QueueSize(AppWindow& window, int width, int height) {
    if (window.width == width && window.height == height) {
        return;
    }
    window.width = width;
    window.height = height;
    window.mustPaint = true;
    CurrentSession().loop.queue.push_back({&window, message::size, 0, MakeLParam(width, height)});
}

void SetBounds(AppWindow& window, const Rectangle& bounds) {
    const bool moves = window.bounds != bounds;
    window.bounds = bounds;
    if (moves && window.excluded && window.shown) {
        KeepOccludedContent(CurrentSession(), bounds);
        RecordBounds(window.id, bounds);
    }
}

void Configure(AppWindow& window, const Rectangle& bounds) {
    const std::int32_t width = std::max(bounds.Width(), 1);
    const std::int32_t height = std::max(bounds.Height(), 1);
    SetBounds(window, {bounds.left, bounds.top, bounds.left + width, bounds.top + height});
    const std::array<std::uint32_t, 4> values{static_cast<std::uint32_t>(bounds.left),
                                              static_cast<std::uint32_t>(bounds.top), static_cast<std::uint32_t>(width),
                                              static_cast<std::uint32_t>(height)};
    constexpr std::uint16_t mask =
        XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT;
    const xcb_void_cookie_t request =
        xcb_configure_window(CurrentSession().connection.get(), window.id, mask, values.data());
    window.configureSequence = request.sequence;
}

/// The DPI in the screen's resources, which the desktop sets.
int ReadDpi(Session& session) {
    constexpr std::uint32_t mostUnits = 65536;
    xcb_connection_t* connection = session.connection.get();
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection,
        xcb_get_property(connection, 0, session.screen->root, XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING, 0, mostUnits),
        nullptr));
    const std::string text = reply ? std::string(static_cast<const char*>(xcb_get_property_value(reply.get())),
                                                 static_cast<std::size_t>(xcb_get_property_value_length(reply.get())))
                                   : std::string();
    const std::string key = "Xft.dpi:";
    const std::size_t at = text.starts_with(key) ? 0 : text.find("\n" + key);
    const double dpi = at == std::string::npos ? 0 : std::atof(text.c_str() + text.find(key, at) + key.size());
    return dpi >= 48 && dpi <= 960 ? static_cast<int>(dpi + 0.5) : 96;
}

void HandleProperty(Session& session, const xcb_property_notify_event_t& event) {
    if (event.window == session.screen->root && event.atom == XCB_ATOM_RESOURCE_MANAGER) {
        UpdateDpi(session);
    }
}

/// Handles an event about a child of the root.
void HandleForeignWindow(Session& session, xcb_window_t window) {
    session.foreignStackChanged = session.foreignStackChanged || WindowOf(session, window) == nullptr;
}

/// Updates the bounds from an event. Ignores an event that is older than our last request.
void UpdateBounds(AppWindow& window, const Rectangle& bounds, std::uint32_t eventNumber) {
    if (window.bare && window.bounds != bounds &&
        static_cast<std::int32_t>(eventNumber - window.configureSequence) >= 0) {
        window.bounds = bounds;
        if (window.excluded && window.shown) {
            RecordBounds(window.id, bounds);
        }
    }
}

void HandleConfigure(Session& session, const xcb_configure_notify_event_t& event, std::uint32_t number) {
    if (event.event != event.window) {
        HandleForeignWindow(session, event.window);
    } else if (AppWindow* window = WindowOf(session, event.window)) {
        UpdateBounds(*window, {event.x, event.y, event.x + event.width, event.y + event.height}, number);
        QueueSize(*window, event.width, event.height);
    }
}

/// Also notifies the window manager, because the window may be minimized.
void Withdraw(Session& session, AppWindow& window) {
    xcb_unmap_window(session.connection.get(), window.id);
    xcb_unmap_notify_event_t withdrawn{};
    withdrawn.response_type = XCB_UNMAP_NOTIFY;
    withdrawn.event = session.screen->root;
    withdrawn.window = window.id;
    xcb_send_event(session.connection.get(), 0, session.screen->root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&withdrawn));
    xcb_flush(session.connection.get());
}

void HandleMap(Session& session, const xcb_map_notify_event_t& event) {
    if (event.event != event.window) {
        HandleForeignWindow(session, event.window);
    } else if (AppWindow* window = WindowOf(session, event.window)) {
        if (!window->shown) {
            // Some window managers ignore the withdrawal of a window that they have not mapped yet.
            Withdraw(session, *window);
        }
        window->viewable = true;
        window->mustPaint = true;
    }
}

}  // namespace

void UpdateDpi(Session& session) {
    const int before = std::exchange(session.dpi, ReadDpi(session));
    for (AppWindow* window : session.windows) {
        if (before == session.dpi) {
            return;
        }
        Rectangle bounds = WindowBounds(*window);
        bounds.right = bounds.left + bounds.Width() * session.dpi / before;
        bounds.bottom = bounds.top + bounds.Height() * session.dpi / before;
        window->suggestedBounds = bounds;
        session.loop.queue.push_back({window, message::dpiChanged,
                                      static_cast<std::uintptr_t>(MakeLParam(session.dpi, session.dpi)),
                                      reinterpret_cast<std::intptr_t>(&window->suggestedBounds)});
    }
}

void ReleaseWindowState(Session& session, AppWindow& window) {
    if (session.input.mouseCapture == &window) {
        session.input.mouseCapture = nullptr;
    }
    window.shown = false;
    RestoreFocus(session, window);
    if (window.excluded) {
        xcb_connection_t* connection = session.connection.get();
        xcb_unmap_window(connection, window.id);
        Synchronize(session);
        RecordHidden(window.id);
        UnregisterExcluded(window.id);
    }
}

void ShowNewWindow(Session& session, AppWindow& window) {
    PrepareShow(session, window);
    window.mustMap = true;
}

void MapNewWindows(Session& session) {
    for (AppWindow* window : session.windows) {
        if (window->mustMap) {
            MapWindow(session, *window);
        }
    }
}

bool HandleGeometryEvent(Session& session, const xcb_generic_event_t& event) {
    switch (event.response_type & 0x7FU) {
        case XCB_EXPOSE:
            if (AppWindow* window = WindowOf(session, reinterpret_cast<const xcb_expose_event_t&>(event).window)) {
                window->mustPaint = true;
            }
            return true;
        case XCB_CONFIGURE_NOTIFY:
            HandleConfigure(session, reinterpret_cast<const xcb_configure_notify_event_t&>(event), event.full_sequence);
            return true;
        case XCB_MAP_NOTIFY:
            HandleMap(session, reinterpret_cast<const xcb_map_notify_event_t&>(event));
            return true;
        case XCB_UNMAP_NOTIFY: {
            const auto& unmapped = reinterpret_cast<const xcb_unmap_notify_event_t&>(event);
            AppWindow* window = unmapped.event == unmapped.window ? WindowOf(session, unmapped.window) : nullptr;
            if (window != nullptr) {
                HandleUnmapped(session, *window);
            }
            return true;
        }
        case XCB_PROPERTY_NOTIFY:
            HandleProperty(session, reinterpret_cast<const xcb_property_notify_event_t&>(event));
            return true;
        default:
            return false;
    }
}

}  // namespace x11

void ShowWindowPlain(AppWindow& window) {
    x11::Session& session = x11::CurrentSession();
    x11::PrepareShow(session, window);
    x11::MapWindow(session, window);
}

void ShowWithoutActivating(AppWindow& window) { ShowWindowPlain(window); }

void ShowInFront(AppWindow& window) {
    x11::Session& session = x11::CurrentSession();
    if (!window.shown) {
        x11::SetInitialState(session, window, XCB_ICCCM_WM_STATE_NORMAL);
    }
    ShowWindowPlain(window);
    x11::RaiseAndActivate(session, window);
}

void HideWindow(AppWindow& window) {
    x11::Session& session = x11::CurrentSession();
    if (window.shown) {
        x11::Send(window, message::showWindow, 0);
    }
    if (window.shown && window.excluded) {
        x11::MaskTransition(session, window.bounds);
    }
    window.shown = false;
    x11::RestoreFocus(session, window);
    if (!std::exchange(window.mustMap, false)) {
        x11::Withdraw(session, window);
    }
}

void MinimizeWindow(AppWindow& window) {
    x11::Session& session = x11::CurrentSession();
    if (!x11::ReadNumberProperty(session, session.screen->root, session.atoms.netSupportingWmCheck)) {
        HideWindow(window);
        return;
    }
    if (!window.shown || window.mustMap) {
        x11::SetInitialState(session, window, XCB_ICCCM_WM_STATE_ICONIC);
        ShowWindowPlain(window);
    }
    // Also after the mapping: some window managers ignore the initial state.
    x11::SendClientMessage(session.screen->root, window.id, session.atoms.wmChangeState,
                           XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                           XCB_ICCCM_WM_STATE_ICONIC);
}

bool IsWindowShown(AppWindow& window) { return window.shown && !window.destroyed; }

bool IsWindowMinimized(AppWindow& window) {
    x11::Session& session = x11::CurrentSession();
    return window.shown &&
           x11::ReadNumberProperty(session, window.id, session.atoms.wmState) == XCB_ICCCM_WM_STATE_ICONIC;
}

void ShowTopmostAt(AppWindow& window, const Rectangle& bounds) {
    x11::Session& session = x11::CurrentSession();
    window.topmost = true;
    x11::Configure(window, bounds);
    x11::QueueSize(window, bounds.Width(), bounds.Height());
    x11::PrepareShow(session, window);
    x11::MapWindow(session, window);
}

void PlaceWindow(AppWindow& window, const Rectangle& bounds) {
    x11::Configure(window, bounds);
    if (window.bare) {
        x11::QueueSize(window, bounds.Width(), bounds.Height());
    }
    xcb_flush(x11::CurrentSession().connection.get());
}

Rectangle ClientBounds(AppWindow& window) {
    x11::Session& session = x11::CurrentSession();
    xcb_connection_t* connection = session.connection.get();
    const auto sizeCookie = xcb_get_geometry(connection, window.id);
    const auto originCookie = xcb_translate_coordinates(connection, window.id, session.screen->root, 0, 0);
    const auto size = x11::Adopt(xcb_get_geometry_reply(connection, sizeCookie, nullptr));
    const auto origin = x11::Adopt(xcb_translate_coordinates_reply(connection, originCookie, nullptr));
    if (!size || !origin) {
        return {};
    }
    return {origin->dst_x, origin->dst_y, origin->dst_x + size->width, origin->dst_y + size->height};
}

Rectangle WindowBounds(AppWindow& window) { return ClientBounds(window); }

int DpiOfWindow(AppWindow&) { return x11::CurrentSession().dpi; }

void ExcludeFromCapture(AppWindow& window) {
    window.excluded = true;
    x11::RegisterExcluded(window.id);
    if (window.shown) {
        x11::KeepOccludedContent(x11::CurrentSession(), window.bounds);
        x11::RecordBounds(window.id, window.bounds);
    }
}

void SetDarkFrame(AppWindow& window) {
    x11::Session& session = x11::CurrentSession();
    constexpr char dark[] = "dark";
    xcb_change_property(session.connection.get(), XCB_PROP_MODE_REPLACE, window.id, session.atoms.gtkThemeVariant,
                        session.atoms.utf8String, 8, sizeof dark - 1, dark);
    xcb_flush(session.connection.get());
}

void SetWindowIcons(AppWindow& window, const AppIcon* big, const AppIcon* little) {
    x11::Session& session = x11::CurrentSession();
    std::vector<std::uint32_t> numbers;
    for (const AppIcon* icon : {big, little}) {
        if (icon != nullptr) {
            numbers.insert(numbers.end(), 2, static_cast<std::uint32_t>(icon->size));
            numbers.insert(numbers.end(), icon->pixels.begin(), icon->pixels.end());
        }
    }
    if (numbers.empty()) {
        return;
    }
    xcb_change_property(session.connection.get(), XCB_PROP_MODE_REPLACE, window.id, session.atoms.netWmIcon,
                        XCB_ATOM_CARDINAL, 32, static_cast<std::uint32_t>(numbers.size()), numbers.data());
    xcb_flush(session.connection.get());
}

}  // namespace zv
