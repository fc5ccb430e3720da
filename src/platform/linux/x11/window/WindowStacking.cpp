#include "platform/linux/x11/window/WindowStacking.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "platform/linux/posix/Posix.h"
#include "platform/linux/x11/window/Session.h"
#include "platform/linux/x11/window/WindowQueries.h"

namespace zv::x11 {
namespace {

constexpr int mostRaisesPerSecond = 8;
constexpr std::int64_t secondNs = 1'000'000'000;

bool Overlap(const Rectangle& a, const Rectangle& b) {
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

/// Returns nullopt if the window does not cover others.
std::optional<Rectangle> VisibleBoundsOf(Session& session, xcb_window_t window) {
    xcb_connection_t* connection = session.connection.get();
    const auto attributesCookie = xcb_get_window_attributes(connection, window);
    const auto geometryCookie = xcb_get_geometry(connection, window);
    const auto attributes = Adopt(xcb_get_window_attributes_reply(connection, attributesCookie, nullptr));
    const auto geometry = Adopt(xcb_get_geometry_reply(connection, geometryCookie, nullptr));
    if (!attributes || !geometry || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
        attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT) {
        return std::nullopt;
    }
    return Rectangle{geometry->x, geometry->y, geometry->x + geometry->width, geometry->y + geometry->height};
}

/// Returns true if the window is the frame of one of our topmost windows.
bool FramesTopmost(Session& session, xcb_window_t frame) {
    return std::any_of(session.windows.begin(), session.windows.end(), [&](const AppWindow* window) {
        return window->topmost && window->shown && !window->bare &&
               TopLevelOf(session.connection.get(), session.screen->root, window->id) == frame;
    });
}

void StackBelow(Session& session, AppWindow& window, xcb_window_t sibling) {
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
    if (++window.raises <= mostRaisesPerSecond) {
        const std::uint32_t above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(session.connection.get(), window.id, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    }
}

xcb_window_t FocusedWindow(Session& session) {
    xcb_connection_t* connection = session.connection.get();
    const Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    return reply ? reply->focus : xcb_window_t{XCB_WINDOW_NONE};
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

void RestoreStacking(Session& session) {
    if (!session.foreignStackChanged) {
        return;
    }
    session.foreignStackChanged = false;
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
        const auto bounds =
            ours != nullptr && ours->topmost && ours->shown ? VisibleBoundsOf(session, stack[i]) : std::nullopt;
        if (!bounds) {
            continue;
        }
        const auto overlaps = [&](xcb_window_t other) {
            const auto otherBounds = VisibleBoundsOf(session, other);
            return otherBounds && Overlap(*otherBounds, *bounds);
        };
        const auto isCover = [&](xcb_window_t other) {
            const bool foreign = WindowOf(session, other) == nullptr && other != session.menuWindow;
            return foreign && overlaps(other) && !FramesTopmost(session, other);
        };
        const auto isFrame = [&](xcb_window_t other) { return FramesTopmost(session, other) && overlaps(other); };
        const auto at = stack.begin() + static_cast<std::ptrdiff_t>(i);
        const bool covered = std::any_of(at + 1, stack.end(), isCover);
        if (covered) {
            Raise(session, *ours);
        }
        // The window manager does not know bare windows, so it may have stacked a frame below one.
        const auto end = covered ? stack.end() : at;
        const auto hidden = std::find_if(stack.begin(), end, isFrame);
        if (ours->bare && hidden != end) {
            StackBelow(session, *ours, *hidden);
        }
    }
}

void RaiseAndActivate(Session& session, AppWindow& window) {
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(session.connection.get(), window.id, XCB_CONFIG_WINDOW_STACK_MODE, &above);
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
