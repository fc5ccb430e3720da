#include "platform/linux/x11/window/WindowStacking.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "platform/linux/posix/Posix.h"
#include "platform/linux/x11/window/Session.h"
#include "platform/linux/x11/window/WindowQueries.h"

namespace zv::x11 {
namespace {

xcb_window_t FocusedWindow(Session& session) {
    xcb_connection_t* connection = session.connection.get();
    const Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    return reply ? reply->focus : xcb_window_t{XCB_WINDOW_NONE};
}

constexpr int mostRaisesPerSecond = 8;
constexpr std::int64_t secondNs = 1'000'000'000;

/// A visible child of the root.
struct StackedWindow {
    xcb_window_t id = XCB_WINDOW_NONE;
    Rectangle bounds;
    AppWindow* ours = nullptr;  ///< null: another program's, or a frame
};
using Stack = std::vector<StackedWindow>;  ///< the lowest first

bool Overlap(const Rectangle& a, const Rectangle& b) { return !Intersection(a, b).IsEmpty(); }

bool Covers(const Rectangle& upper, const Rectangle& lower) { return Intersection(upper, lower) == lower; }

/// Returns true for a window that the server itself made, such as the one that compositors draw on.
bool BelongsToServer(const Session& session, xcb_window_t window) {
    return (window & ~xcb_get_setup(session.connection.get())->resource_id_mask) == 0;
}

/// The visible windows. Waits for the server twice.
Stack ReadStack(Session& session) {
    xcb_connection_t* connection = session.connection.get();
    const auto tree =
        Adopt(xcb_query_tree_reply(connection, xcb_query_tree(connection, session.screen->root), nullptr));
    if (!tree) {
        return {};
    }
    const std::span children(xcb_query_tree_children(tree.get()),
                             static_cast<std::size_t>(xcb_query_tree_children_length(tree.get())));
    std::vector<xcb_get_window_attributes_cookie_t> attributeCookies;
    std::vector<xcb_get_geometry_cookie_t> geometryCookies;
    for (const xcb_window_t child : children) {
        attributeCookies.push_back(xcb_get_window_attributes(connection, child));
        geometryCookies.push_back(xcb_get_geometry(connection, child));
    }
    Stack stack;
    for (std::size_t i = 0; i < children.size(); ++i) {
        const auto attributes = Adopt(xcb_get_window_attributes_reply(connection, attributeCookies[i], nullptr));
        const auto geometry = Adopt(xcb_get_geometry_reply(connection, geometryCookies[i], nullptr));
        if (attributes && geometry && attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
            attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT && !BelongsToServer(session, children[i])) {
            stack.push_back({children[i],
                             {geometry->x, geometry->y, geometry->x + geometry->width, geometry->y + geometry->height},
                             WindowOf(session, children[i])});
        }
    }
    return stack;
}

/// Returns true if the window is the frame of one of our topmost windows.
bool FramesTopmost(Session& session, xcb_window_t frame) {
    return std::any_of(session.windows.begin(), session.windows.end(), [&](const AppWindow* window) {
        return window->topmost && window->shown && !window->bare &&
               TopLevelOf(session.connection.get(), session.screen->root, window->id) == frame;
    });
}

/// The end of the windows up to the highest one of a program: of a client of the window manager, or without one, of the
/// window with the focus. The end of the stack if no program shows a window.
std::size_t EndOfPrograms(Session& session, const Stack& stack) {
    xcb_connection_t* connection = session.connection.get();
    const xcb_window_t root = session.screen->root;
    std::vector<std::uint32_t> clients{FocusedWindow(session)};
    if (ReadNumberProperty(session, root, session.atoms.netSupportingWmCheck)) {
        clients = ReadNumbersProperty(session, root, session.atoms.netClientListStacking, XCB_ATOM_WINDOW);
    }
    for (auto client = clients.rbegin(); client != clients.rend(); ++client) {
        const xcb_window_t topLevel = TopLevelOf(connection, root, *client);
        const auto at = std::find_if(stack.begin(), stack.end(),
                                     [&](const StackedWindow& window) { return window.id == topLevel; });
        if (at != stack.end()) {
            return static_cast<std::size_t>(at - stack.begin()) + 1;
        }
    }
    return stack.size();
}

Rectangle MonitorOf(Session& session, const Rectangle& bounds) {
    return MonitorBoundsAt(session, {(bounds.left + bounds.right) / 2, (bounds.top + bounds.bottom) / 2});
}

/// The lowest window of a screen locker above our bare window: it covers the whole monitor, and is above all windows of
/// programs without being one. It keeps its position. The end of the stack if there is none.
Stack::const_iterator LowestLocker(Session& session, const Stack& stack, const AppWindow& ours) {
    std::optional<Rectangle> monitor;
    const auto covers = [&](const StackedWindow& window) {
        if (window.ours != nullptr || !Covers(window.bounds, ours.bounds)) {
            return false;
        }
        monitor = monitor ? monitor : MonitorOf(session, ours.bounds);
        return Covers(window.bounds, *monitor);
    };
    const auto first = stack.begin() + static_cast<std::ptrdiff_t>(EndOfPrograms(session, stack));
    return std::find_if(first, stack.end(), covers);
}

void Restack(Session& session, AppWindow& window, xcb_stack_mode_t mode, xcb_window_t sibling) {
    const std::array<std::uint32_t, 2> values{sibling, static_cast<std::uint32_t>(mode)};
    const bool hasSibling = sibling != XCB_WINDOW_NONE;
    const auto mask = static_cast<std::uint16_t>(XCB_CONFIG_WINDOW_STACK_MODE |
                                                 (hasSibling ? std::uint32_t{XCB_CONFIG_WINDOW_SIBLING} : 0U));
    xcb_configure_window(session.connection.get(), window.id, mask, hasSibling ? values.data() : values.data() + 1);
}

/// Raises the window above all others except lockers, and then the windows that it owns.
void RaiseIn(Session& session, AppWindow& window, const Stack& stack) {
    const auto locker = window.bare ? LowestLocker(session, stack, window) : stack.end();
    if (locker == stack.end()) {
        Restack(session, window, XCB_STACK_MODE_ABOVE, XCB_WINDOW_NONE);
    } else {
        Restack(session, window, XCB_STACK_MODE_BELOW, locker->id);
    }
    for (AppWindow* owned : session.windows) {
        if (owned->owner == &window && owned->shown) {
            RaiseIn(session, *owned, stack);
        }
    }
}

/// Counts the raises that react to other clients. Returns false if there were too many within a second.
bool MayRaiseAgain(AppWindow& window) {
    const std::int64_t nowNs = MonotonicNs();
    if (nowNs - window.raisesSinceNs > secondNs) {
        window.raisesSinceNs = nowNs;
        window.raises = 0;
    }
    return ++window.raises <= mostRaisesPerSecond;
}

void AcquireFocus(Session& session, AppWindow& window) {
    const xcb_window_t before = FocusedWindow(session);
    window.previousFocus = before == window.id ? window.previousFocus : before;
    xcb_set_input_focus(session.connection.get(), XCB_INPUT_FOCUS_POINTER_ROOT, window.id, XCB_CURRENT_TIME);
}

}  // namespace

void SelectStackingEvents(Session& session) {
    const bool any = std::any_of(session.windows.begin(), session.windows.end(),
                                 [](const AppWindow* window) { return window->topmost && window->shown; });
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                                 (any ? std::uint32_t{XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY} : 0U);
    xcb_change_window_attributes(session.connection.get(), session.screen->root, XCB_CW_EVENT_MASK, &events);
}

void Raise(Session& session, AppWindow& window) { RaiseIn(session, window, ReadStack(session)); }

std::optional<Rectangle> FullScreenMonitor(Session& session, const Rectangle& bounds) {
    const Rectangle monitor = MonitorOf(session, bounds);
    const Stack stack = ReadStack(session);
    const auto highest = std::find_if(stack.rbegin(), stack.rend(), [&](const StackedWindow& window) {
        return window.ours == nullptr && Overlap(window.bounds, monitor);
    });
    const bool fills = highest != stack.rend() && Covers(highest->bounds, monitor);
    return fills ? std::optional(monitor) : std::nullopt;
}

void RestoreStacking(Session& session) {
    if (!session.foreignStackChanged) {
        return;
    }
    session.foreignStackChanged = false;
    const Stack stack = ReadStack(session);
    for (auto at = stack.begin(); at != stack.end(); ++at) {
        AppWindow* ours = at->ours;
        if (ours == nullptr || !ours->topmost || !ours->shown) {
            continue;
        }
        const auto isFrame = [&](const StackedWindow& other) {
            return Overlap(other.bounds, at->bounds) && FramesTopmost(session, other.id);
        };
        const auto isCover = [&](const StackedWindow& other) {
            return other.ours == nullptr && other.id != session.menuWindow && Overlap(other.bounds, at->bounds) &&
                   !FramesTopmost(session, other.id);
        };
        const auto locker = std::max(at + 1, LowestLocker(session, stack, *ours));
        const bool covered = std::any_of(at + 1, locker, isCover);
        if (covered && MayRaiseAgain(*ours)) {
            RaiseIn(session, *ours, stack);
        }
        // The window manager does not know bare windows, so it may have stacked a frame below one.
        const auto end = covered ? stack.end() : at;
        const auto hidden = std::find_if(stack.begin(), end, isFrame);
        if (ours->bare && hidden != end) {
            Restack(session, *ours, XCB_STACK_MODE_BELOW, hidden->id);
        }
    }
}

void RaiseAndActivate(Session& session, AppWindow& window) {
    Raise(session, window);
    if (ReadNumberProperty(session, session.screen->root, session.atoms.netSupportingWmCheck)) {
        constexpr std::uint32_t sourceUser = 2;
        SendClientMessage(session.screen->root, window.id, session.atoms.netActiveWindow,
                          XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY, sourceUser);
    } else {
        AcquireFocus(session, window);
    }
    xcb_flush(session.connection.get());
}

void RestoreFocus(Session& session, AppWindow& window) {
    const xcb_window_t before = std::exchange(window.previousFocus, XCB_WINDOW_NONE);
    if (before != XCB_WINDOW_NONE && FocusedWindow(session) == window.id) {
        xcb_set_input_focus(session.connection.get(), XCB_INPUT_FOCUS_POINTER_ROOT, before, XCB_CURRENT_TIME);
    }
}

}  // namespace zv::x11
