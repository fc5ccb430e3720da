// The server grabs the pointer for a window while a button is held, so CaptureMouse only records which window receives
// message::captureChanged.
#include "platform/linux/x11/window/WindowInput.h"

#include <xcb/xcb_cursor.h>

#include "platform/Keyboard.h"
#include "platform/linux/x11/window/Session.h"

namespace zv {
namespace x11 {
namespace {

constexpr int wheelNotch = 120;
constexpr std::uint32_t altKey = 18;
constexpr std::uint32_t f10Key = 121;

void Queue(Session& session, AppWindow& window, std::uint32_t code, std::uintptr_t wParam = 0,
           std::intptr_t lParam = 0) {
    session.loop.queue.push_back({&window, code, wParam, lParam, session.input.readModifiers});
}

std::uintptr_t MouseState(std::uint16_t state) {
    std::uintptr_t held = 0;
    held |= (state & XCB_BUTTON_MASK_1) != 0 ? mouseState::leftButton : 0U;
    held |= (state & XCB_MOD_MASK_SHIFT) != 0 ? mouseState::shift : 0U;
    held |= (state & XCB_MOD_MASK_CONTROL) != 0 ? mouseState::control : 0U;
    return held;
}

void HandleMotion(Session& session, const xcb_motion_notify_event_t& event) {
    AppWindow* window = WindowOf(session, event.event);
    if (window == nullptr) {
        return;
    }
    session.input.readModifiers = ModifiersOf(session, event.state);
    const bool inside =
        event.event_x >= 0 && event.event_y >= 0 && event.event_x < window->width && event.event_y < window->height;
    if (inside && session.input.mouseCapture == nullptr) {
        Queue(session, *window, message::setCursor, 0,
              MakeLParam(static_cast<int>(hitCode::client), static_cast<int>(message::mouseMove)));
    }
    Queue(session, *window, message::mouseMove, MouseState(event.state), MakeLParam(event.event_x, event.event_y));
}

void HandleWheel(Session& session, AppWindow& window, const xcb_button_press_event_t& event) {
    const int delta = event.detail == XCB_BUTTON_INDEX_4 ? wheelNotch : -wheelNotch;
    Queue(session, window, message::mouseWheel,
          MouseState(event.state) | static_cast<std::uintptr_t>(MakeLParam(0, delta)),
          MakeLParam(event.root_x, event.root_y));
}

void HandleButton(Session& session, const xcb_button_press_event_t& event, bool pressed) {
    AppWindow* window = WindowOf(session, event.event);
    if (window == nullptr) {
        return;
    }
    session.input.readModifiers = ModifiersOf(session, event.state);
    const std::intptr_t position = MakeLParam(event.event_x, event.event_y);
    if (event.detail == XCB_BUTTON_INDEX_1) {
        Queue(session, *window, pressed ? message::leftButtonDown : message::leftButtonUp, MouseState(event.state),
              position);
    } else if (event.detail == XCB_BUTTON_INDEX_3) {
        Queue(session, *window, pressed ? message::rightButtonDown : message::rightButtonUp, MouseState(event.state),
              position);
    } else if (pressed && (event.detail == XCB_BUTTON_INDEX_4 || event.detail == XCB_BUTTON_INDEX_5)) {
        HandleWheel(session, *window, event);
    }
}

/// Ignores the leave event of a grab's start, but not that of its end outside the window.
void HandleLeave(Session& session, const xcb_leave_notify_event_t& event) {
    AppWindow* window = WindowOf(session, event.event);
    const bool left = event.mode != XCB_NOTIFY_MODE_GRAB && event.detail != XCB_NOTIFY_DETAIL_INFERIOR;
    if (window != nullptr && left) {
        Queue(session, *window, message::mouseLeave);
    }
}

void HandleKey(Session& session, const xcb_key_press_event_t& event, bool pressed) {
    AppWindow* window = WindowOf(session, event.event);
    const std::uint32_t key = window != nullptr ? VirtualKeyOf(session, event.detail) : 0;
    if (key == 0) {
        return;
    }
    session.input.readModifiers = ModifiersOf(session, event.state);
    const bool alt = (session.input.readModifiers & keyModifier::alt) != 0 || key == altKey;
    const bool system = (alt && (session.input.readModifiers & keyModifier::control) == 0) || key == f10Key;
    Queue(session, *window,
          pressed  ? system ? message::systemKeyDown : message::keyDown
          : system ? message::systemKeyUp
                   : message::keyUp,
          key);
}

void HandleFocus(Session& session, const xcb_focus_in_event_t& event, bool gained) {
    AppWindow* window = WindowOf(session, event.event);
    const bool real = event.mode != XCB_NOTIFY_MODE_GRAB && event.mode != XCB_NOTIFY_MODE_UNGRAB &&
                      event.detail != XCB_NOTIFY_DETAIL_INFERIOR && event.detail != XCB_NOTIFY_DETAIL_POINTER;
    if (window != nullptr && real) {
        Queue(session, *window, gained ? message::setFocus : message::killFocus);
    }
}

/// Returns a cursor of the user's theme, or of the core font if there is no theme. Loads both shapes on the first call.
xcb_cursor_t CursorOf(Session& session, CursorShape shape) {
    std::array<xcb_cursor_t, 2>& cursors = session.input.cursors;
    xcb_cursor_context_t* theme = nullptr;
    xcb_screen_t screen = *session.screen;
    if (cursors[0] == XCB_CURSOR_NONE && xcb_cursor_context_new(session.connection.get(), &screen, &theme) >= 0) {
        cursors = {xcb_cursor_load_cursor(theme, "left_ptr"), xcb_cursor_load_cursor(theme, "hand2")};
        xcb_cursor_context_free(theme);
    }
    return cursors[shape == CursorShape::Hand ? 1 : 0];
}

}  // namespace

bool HandleInputEvent(Session& session, const xcb_generic_event_t& event) {
    switch (event.response_type & 0x7FU) {
        case XCB_MOTION_NOTIFY:
            HandleMotion(session, reinterpret_cast<const xcb_motion_notify_event_t&>(event));
            return true;
        case XCB_BUTTON_PRESS:
            HandleButton(session, reinterpret_cast<const xcb_button_press_event_t&>(event), true);
            return true;
        case XCB_BUTTON_RELEASE:
            HandleButton(session, reinterpret_cast<const xcb_button_press_event_t&>(event), false);
            return true;
        case XCB_LEAVE_NOTIFY:
            HandleLeave(session, reinterpret_cast<const xcb_leave_notify_event_t&>(event));
            return true;
        case XCB_KEY_PRESS:
            HandleKey(session, reinterpret_cast<const xcb_key_press_event_t&>(event), true);
            return true;
        case XCB_KEY_RELEASE:
            HandleKey(session, reinterpret_cast<const xcb_key_press_event_t&>(event), false);
            return true;
        case XCB_FOCUS_IN:
            HandleFocus(session, reinterpret_cast<const xcb_focus_in_event_t&>(event), true);
            return true;
        case XCB_FOCUS_OUT:
            HandleFocus(session, reinterpret_cast<const xcb_focus_in_event_t&>(event), false);
            return true;
        default:
            return false;
    }
}

}  // namespace x11

void TrackMouseLeave(AppWindow& window) { window.tracksLeave = true; }

void CaptureMouse(AppWindow& window) { x11::CurrentSession().input.mouseCapture = &window; }

bool HasMouseCapture(AppWindow& window) { return x11::CurrentSession().input.mouseCapture == &window; }

void ReleaseMouse(AppWindow& window) {
    if (HasMouseCapture(window)) {
        x11::CurrentSession().input.mouseCapture = nullptr;
        x11::Send(window, message::captureChanged);
    }
}

void SetCursorShape(AppWindow& window, CursorShape shape) {
    x11::Session& session = x11::CurrentSession();
    const xcb_cursor_t cursor = x11::CursorOf(session, shape);
    xcb_change_window_attributes(session.connection.get(), window.id, XCB_CW_CURSOR, &cursor);
    xcb_flush(session.connection.get());
}

Point CursorPosition() {
    x11::Session& session = x11::CurrentSession();
    xcb_connection_t* connection = session.connection.get();
    const x11::Reply<xcb_query_pointer_reply_t> reply(
        xcb_query_pointer_reply(connection, xcb_query_pointer(connection, session.screen->root), nullptr));
    return reply ? Point{reply->root_x, reply->root_y} : Point{};
}

std::uint32_t HeldModifiers() { return x11::CurrentSession().input.heldModifiers; }

}  // namespace zv
