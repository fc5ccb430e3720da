// Where the windows are: shown and hidden, placed and kept on top, and kept out of the program's own captures.
//
// Bare windows are the server's alone: no window manager moves them, gives them the focus or covers them on purpose.
// What others put over a topmost one is answered by raising it again, at most a few times a second.
#include <xcb/composite.h>

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "platform/linux/cairo/IconPixels.h"
#include "platform/linux/posix/Posix.h"
#include "platform/linux/x11/capture/ExcludedWindows.h"
#include "platform/linux/x11/window/WindowSession.h"

namespace zv {
namespace x11 {
namespace {

constexpr int mostRaises = 8;  ///< a second
constexpr std::int64_t secondNs = 1'000'000'000;

bool IsOver(const Rectangle& a, const Rectangle& b) {
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

bool HasComposite(Session& session) {
    xcb_connection_t* connection = session.connection.get();
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(connection, &xcb_composite_id);
    return extension != nullptr && extension->present != 0;
}

/// Every window has a picture of its own from here on, also where others cover it: captures take what lies beneath
/// ours from there. It has to be so before ours comes up.
void KeepPictures(Session& session) {
    if (session.redirected || !HasComposite(session)) {
        return;
    }
    xcb_connection_t* connection = session.connection.get();
    std::free(xcb_composite_query_version_reply(connection, xcb_composite_query_version(connection, 0, 4), nullptr));
    xcb_composite_redirect_subwindows(connection, session.screen->root, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    session.redirected = true;
}

bool AnyExcludedShown(const Session& session) {
    return std::any_of(session.windows.begin(), session.windows.end(),
                       [](const AppWindow* window) { return window->excluded && window->shown; });
}

/// A game that fills the screen is faster without. Where no compositor runs, the change makes every window paint itself
/// anew, which can be seen, so there it stays for good.
void LetPicturesGo(Session& session) {
    const auto composited = [&] {
        return SelectionOwner(session, session.atoms.compositorSelection).value_or(XCB_WINDOW_NONE) != XCB_WINDOW_NONE;
    };
    if (session.redirected && !AnyExcludedShown(session) && composited()) {
        session.redirected = false;
        xcb_composite_unredirect_subwindows(session.connection.get(), session.screen->root,
                                            XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    }
}

/// The root tells of all windows as long as one of ours has to stay on top of them.
void WatchStack(Session& session) {
    const bool any = std::any_of(session.windows.begin(), session.windows.end(),
                                 [](const AppWindow* window) { return window->topmost && window->shown; });
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                                 (any ? std::uint32_t{XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY} : 0U);
    xcb_change_window_attributes(session.connection.get(), session.screen->root, XCB_CW_EVENT_MASK, &events);
}

/// Before the server is asked to show it.
void BeginShowing(Session& session, AppWindow& window) {
    if (window.excluded) {
        NotePlace(window.id, window.place);
        KeepPictures(session);
    }
    if (window.shown) {
        return;  // and need not be painted again for it
    }
    Send(window, message::showWindow, 1);
    window.shown = true;
    window.mustPaint = true;
}

void Map(Session& session, AppWindow& window) {
    xcb_map_window(session.connection.get(), window.id);
    if (window.topmost) {
        WatchStack(session);
    }
    xcb_flush(session.connection.get());
}

void EndShowing(Session& session, AppWindow& window) {
    window.viewable = false;
    if (session.mouseOwner == &window) {
        ReleaseMouse(window);
    }
    if (!window.shown) {
        NoteGone(window.id);
        LetPicturesGo(session);
        WatchStack(session);
    }
}

void TellSize(AppWindow& window, int width, int height) {
    if (window.width == width && window.height == height) {
        return;
    }
    window.width = width;
    window.height = height;
    window.mustPaint = true;
    CurrentSession().queue.push_back({&window, message::size, 0, MakeLParam(width, height)});
}

void SetPlace(AppWindow& window, const Rectangle& place) {
    window.place = place;
    if (window.excluded && window.shown) {
        NotePlace(window.id, place);
    }
}

void Configure(AppWindow& window, const Rectangle& bounds, bool raise) {
    const std::int32_t width = std::max(bounds.Width(), 1);
    const std::int32_t height = std::max(bounds.Height(), 1);
    SetPlace(window, {bounds.left, bounds.top, bounds.left + width, bounds.top + height});
    const std::array<std::uint32_t, 5> values{static_cast<std::uint32_t>(bounds.left),
                                              static_cast<std::uint32_t>(bounds.top), static_cast<std::uint32_t>(width),
                                              static_cast<std::uint32_t>(height), XCB_STACK_MODE_ABOVE};
    const unsigned place =
        XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT;
    const unsigned asked = raise ? place | XCB_CONFIG_WINDOW_STACK_MODE : place;
    const xcb_void_cookie_t request = xcb_configure_window(CurrentSession().connection.get(), window.id,
                                                           static_cast<std::uint16_t>(asked), values.data());
    window.placedBy = request.sequence;
}

/// Whether the window is one that could hide another, and where it lies.
std::optional<Rectangle> CoverOf(Session& session, xcb_window_t window) {
    xcb_connection_t* connection = session.connection.get();
    const xcb_get_window_attributes_cookie_t asked = xcb_get_window_attributes(connection, window);
    const xcb_get_geometry_cookie_t askedPlace = xcb_get_geometry(connection, window);
    const Reply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(connection, asked, nullptr));
    const Reply<xcb_get_geometry_reply_t> place(xcb_get_geometry_reply(connection, askedPlace, nullptr));
    if (!attributes || !place || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
        attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT) {
        return std::nullopt;
    }
    return Rectangle{place->x, place->y, place->x + place->width, place->y + place->height};
}

/// Whether the window is the frame around one of ours that lies on top as well.
bool FramesTopmost(Session& session, xcb_window_t frame) {
    return std::any_of(session.windows.begin(), session.windows.end(), [&](const AppWindow* window) {
        return window->topmost && window->shown && !window->bare &&
               TopLevelOf(session.connection.get(), session.screen->root, window->id) == frame;
    });
}

void PutBeneath(Session& session, AppWindow& window, xcb_window_t sibling) {
    const std::array<std::uint32_t, 2> values{sibling, XCB_STACK_MODE_BELOW};
    xcb_configure_window(session.connection.get(), window.id, XCB_CONFIG_WINDOW_SIBLING | XCB_CONFIG_WINDOW_STACK_MODE,
                         values.data());
}

void Raise(Session& session, AppWindow& window) {
    const std::int64_t nowNs = MonotonicNs();
    if (nowNs - window.raisesSinceNs > secondNs) {
        window.raisesSinceNs = nowNs;
        window.raises = 0;
    }
    if (++window.raises <= mostRaises) {
        const std::uint32_t above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(session.connection.get(), window.id, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    }
}

/// The session's DPI, as the desktop writes it into the screen's resources.
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
        FollowDpi(session);
    }
}

/// What the root tells of other programs' windows.
void HandleNeighbour(Session& session, xcb_window_t window) {
    session.stackChanged = session.stackChanged || WindowOf(session, window) == nullptr;
}

/// The event may be an older one than the last request for a place.
void FollowPlace(AppWindow& window, const Rectangle& place, std::uint32_t eventNumber) {
    if (window.bare && window.place != place && static_cast<std::int32_t>(eventNumber - window.placedBy) >= 0) {
        SetPlace(window, place);
    }
}

void HandleConfigure(Session& session, const xcb_configure_notify_event_t& event, std::uint32_t number) {
    if (event.event != event.window) {
        HandleNeighbour(session, event.window);
    } else if (AppWindow* window = WindowOf(session, event.window)) {
        FollowPlace(*window, {event.x, event.y, event.x + event.width, event.y + event.height}, number);
        TellSize(*window, event.width, event.height);
    }
}

void HandleMap(Session& session, const xcb_map_notify_event_t& event) {
    if (event.event != event.window) {
        HandleNeighbour(session, event.window);
    } else if (AppWindow* window = WindowOf(session, event.window)) {
        window->viewable = true;
        window->mustPaint = true;
    }
}

xcb_window_t FocusNow(Session& session) {
    xcb_connection_t* connection = session.connection.get();
    const Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    return reply ? reply->focus : xcb_window_t{XCB_WINDOW_NONE};
}

/// Without a window manager nobody else gives the window the keyboard.
void TakeFocus(Session& session, AppWindow& window) {
    const xcb_window_t before = FocusNow(session);
    window.focusBefore = before == window.id ? window.focusBefore : before;
    xcb_set_input_focus(session.connection.get(), XCB_INPUT_FOCUS_POINTER_ROOT, window.id, XCB_CURRENT_TIME);
}

/// Nor would anybody give it back, to the game for one.
void ReturnFocus(Session& session, AppWindow& window) {
    const xcb_window_t before = std::exchange(window.focusBefore, XCB_WINDOW_NONE);
    if (before != XCB_WINDOW_NONE && FocusNow(session) == window.id) {
        xcb_set_input_focus(session.connection.get(), XCB_INPUT_FOCUS_POINTER_ROOT, before, XCB_CURRENT_TIME);
    }
}

}  // namespace

void FollowStack(Session& session) {
    if (!session.stackChanged) {
        return;
    }
    session.stackChanged = false;
    xcb_connection_t* connection = session.connection.get();
    const Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(connection, xcb_query_tree(connection, session.screen->root), nullptr));
    if (!tree) {
        return;
    }
    const std::span stack(xcb_query_tree_children(tree.get()),
                          static_cast<std::size_t>(xcb_query_tree_children_length(tree.get())));
    for (std::size_t i = 0; i < stack.size(); ++i) {
        AppWindow* ours = WindowOf(session, stack[i]);
        const auto bounds = ours != nullptr && ours->topmost && ours->shown ? CoverOf(session, stack[i]) : std::nullopt;
        if (!bounds) {
            continue;
        }
        const auto isOver = [&](xcb_window_t other) {
            const auto place = CoverOf(session, other);
            return place && IsOver(*place, *bounds);
        };
        const auto isCover = [&](xcb_window_t other) {
            const bool foreign = WindowOf(session, other) == nullptr && other != session.menu;
            return foreign && isOver(other) && !FramesTopmost(session, other);
        };
        const auto isFrame = [&](xcb_window_t other) { return FramesTopmost(session, other) && isOver(other); };
        const auto at = stack.begin() + static_cast<std::ptrdiff_t>(i);
        const bool covered = std::any_of(at + 1, stack.end(), isCover);
        if (covered) {
            Raise(session, *ours);
        }
        // Where a bare window lies is nothing that a window manager knows: it may put a frame under it.
        const auto end = covered ? stack.end() : at;
        const auto hidden = std::find_if(stack.begin(), end, isFrame);
        if (ours->bare && hidden != end) {
            PutBeneath(session, *ours, *hidden);
        }
    }
}

void FollowDpi(Session& session) {
    const int before = std::exchange(session.dpi, ReadDpi(session));
    for (AppWindow* window : session.windows) {
        if (before == session.dpi) {
            return;
        }
        Rectangle bounds = WindowBounds(*window);
        bounds.right = bounds.left + bounds.Width() * session.dpi / before;
        bounds.bottom = bounds.top + bounds.Height() * session.dpi / before;
        window->suggested = bounds;
        session.queue.push_back({window, message::dpiChanged,
                                 static_cast<std::uintptr_t>(MakeLParam(session.dpi, session.dpi)),
                                 reinterpret_cast<std::intptr_t>(&window->suggested)});
    }
}

void ForgetWindow(Session& session, AppWindow& window) {
    if (session.mouseOwner == &window) {
        session.mouseOwner = nullptr;
    }
    window.shown = false;
    ReturnFocus(session, window);
    if (window.excluded) {
        xcb_connection_t* connection = session.connection.get();
        xcb_unmap_window(connection, window.id);
        std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
        NoteGone(window.id);
        LeaveExcluded(window.id);
    }
}

bool HandlePlaceEvent(Session& session, const xcb_generic_event_t& event) {
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
                EndShowing(session, *window);
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
    x11::BeginShowing(session, window);
    x11::Map(session, window);
}

void ShowWithoutActivating(AppWindow& window) { ShowWindowPlain(window); }

void ShowInFront(AppWindow& window) {
    x11::Session& session = x11::CurrentSession();
    ShowWindowPlain(window);
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(session.connection.get(), window.id, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    if (x11::NumberOf(session, session.screen->root, session.atoms.netSupportingWmCheck)) {
        constexpr std::uint32_t sourceUser = 2;
        x11::SendClientMessage(session.screen->root, window.id, session.atoms.netActiveWindow,
                               XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY, sourceUser);
    } else {
        x11::TakeFocus(session, window);
    }
    xcb_flush(session.connection.get());
}

void HideWindow(AppWindow& window) {
    x11::Session& session = x11::CurrentSession();
    if (window.shown) {
        x11::Send(window, message::showWindow, 0);
    }
    window.shown = false;
    x11::ReturnFocus(session, window);
    xcb_unmap_window(session.connection.get(), window.id);
    // A window manager takes the window back only when it is told so, even while the window is an icon.
    xcb_unmap_notify_event_t withdrawn{};
    withdrawn.response_type = XCB_UNMAP_NOTIFY;
    withdrawn.event = session.screen->root;
    withdrawn.window = window.id;
    xcb_send_event(session.connection.get(), 0, session.screen->root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&withdrawn));
    xcb_flush(session.connection.get());
}

bool IsWindowShown(AppWindow& window) { return window.shown && !window.ended; }

bool IsWindowIcon(AppWindow& window) {
    x11::Session& session = x11::CurrentSession();
    constexpr std::uint32_t iconic = 3;
    return window.shown && x11::NumberOf(session, window.id, session.atoms.wmState) == iconic;
}

void ShowTopmostAt(AppWindow& window, const Rectangle& bounds) {
    x11::Session& session = x11::CurrentSession();
    window.topmost = true;
    x11::Configure(window, bounds, true);
    x11::TellSize(window, bounds.Width(), bounds.Height());
    x11::BeginShowing(session, window);
    x11::Map(session, window);
}

void PlaceWindow(AppWindow& window, const Rectangle& bounds) {
    x11::Configure(window, bounds, false);
    if (window.bare) {
        x11::TellSize(window, bounds.Width(), bounds.Height());
    }
    xcb_flush(x11::CurrentSession().connection.get());
}

Rectangle ClientBounds(AppWindow& window) {
    x11::Session& session = x11::CurrentSession();
    xcb_connection_t* connection = session.connection.get();
    const xcb_get_geometry_cookie_t askedSize = xcb_get_geometry(connection, window.id);
    const xcb_translate_coordinates_cookie_t askedPlace =
        xcb_translate_coordinates(connection, window.id, session.screen->root, 0, 0);
    const x11::Reply<xcb_get_geometry_reply_t> size(xcb_get_geometry_reply(connection, askedSize, nullptr));
    const x11::Reply<xcb_translate_coordinates_reply_t> place(
        xcb_translate_coordinates_reply(connection, askedPlace, nullptr));
    if (!size || !place) {
        return {};
    }
    return {place->dst_x, place->dst_y, place->dst_x + size->width, place->dst_y + size->height};
}

Rectangle WindowBounds(AppWindow& window) { return ClientBounds(window); }

int DpiOfWindow(AppWindow&) { return x11::CurrentSession().dpi; }

void ExcludeFromCapture(AppWindow& window) {
    window.excluded = true;
    x11::EnterExcluded(window.id);
    if (window.shown) {
        x11::NotePlace(window.id, window.place);
        x11::KeepPictures(x11::CurrentSession());
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
