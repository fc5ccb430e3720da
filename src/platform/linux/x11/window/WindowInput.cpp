// Mouse, keys and focus of the windows, as messages.
//
// The server itself keeps the pointer with a window while a button is held, so capturing the mouse is only a note of
// who is to hear of its end.
#include "platform/Keyboard.h"
#include "platform/linux/x11/window/WindowSession.h"

namespace zv {
namespace x11 {
namespace {

constexpr int wheelNotch = 120;
constexpr std::uintptr_t leftHeld = 0x0001;
constexpr std::uintptr_t shiftHeld = 0x0004;
constexpr std::uintptr_t controlHeld = 0x0008;
constexpr std::uint32_t altKey = 18;
constexpr std::uint32_t f10Key = 121;

void Queue(Session& session, AppWindow& window, std::uint32_t code, std::uintptr_t wParam = 0,
           std::intptr_t lParam = 0) {
    session.queue.push_back({&window, code, wParam, lParam, session.readModifiers});
}

std::uintptr_t MouseState(std::uint16_t state) {
    std::uintptr_t held = 0;
    held |= (state & XCB_BUTTON_MASK_1) != 0 ? leftHeld : 0U;
    held |= (state & XCB_MOD_MASK_SHIFT) != 0 ? shiftHeld : 0U;
    held |= (state & XCB_MOD_MASK_CONTROL) != 0 ? controlHeld : 0U;
    return held;
}

void HandleMotion(Session& session, const xcb_motion_notify_event_t& event) {
    AppWindow* window = WindowOf(session, event.event);
    if (window == nullptr) {
        return;
    }
    session.readModifiers = ModifiersOf(session, event.state);
    const bool inside =
        event.event_x >= 0 && event.event_y >= 0 && event.event_x < window->width && event.event_y < window->height;
    if (inside && session.mouseOwner == nullptr) {
        Queue(session, *window, message::setCursor, 0,
              MakeLParam(static_cast<int>(hitCode::client), static_cast<int>(message::mouseMove)));
    }
    Queue(session, *window, message::mouseMove, MouseState(event.state), MakeLParam(event.event_x, event.event_y));
}

void HandleWheel(Session& session, AppWindow& window, const xcb_button_press_event_t& event) {
    const int turn = event.detail == XCB_BUTTON_INDEX_4 ? wheelNotch : -wheelNotch;
    Queue(session, window, message::mouseWheel,
          MouseState(event.state) | static_cast<std::uintptr_t>(MakeLParam(0, turn)),
          MakeLParam(event.root_x, event.root_y));
}

void HandleButton(Session& session, const xcb_button_press_event_t& event, bool pressed) {
    AppWindow* window = WindowOf(session, event.event);
    if (window == nullptr) {
        return;
    }
    session.readModifiers = ModifiersOf(session, event.state);
    const std::intptr_t place = MakeLParam(event.event_x, event.event_y);
    if (event.detail == XCB_BUTTON_INDEX_1) {
        Queue(session, *window, pressed ? message::leftButtonDown : message::leftButtonUp, MouseState(event.state),
              place);
    } else if (event.detail == XCB_BUTTON_INDEX_3) {
        Queue(session, *window, pressed ? message::rightButtonDown : message::rightButtonUp, MouseState(event.state),
              place);
    } else if (pressed && (event.detail == XCB_BUTTON_INDEX_4 || event.detail == XCB_BUTTON_INDEX_5)) {
        HandleWheel(session, *window, event);
    }
}

/// A grab that begins is no leaving; one that ends outside the window is.
void HandleLeave(Session& session, const xcb_leave_notify_event_t& event) {
    AppWindow* window = WindowOf(session, event.event);
    const bool left = event.mode != XCB_NOTIFY_MODE_GRAB && event.detail != XCB_NOTIFY_DETAIL_INFERIOR;
    if (window != nullptr && left && window->tracksLeave) {
        window->tracksLeave = false;
        Queue(session, *window, message::mouseLeave);
    }
}

void HandleKey(Session& session, const xcb_key_press_event_t& event, bool pressed) {
    AppWindow* window = WindowOf(session, event.event);
    const std::uint32_t key = window != nullptr ? VirtualKeyOf(session, event.detail) : 0;
    if (key == 0) {
        return;
    }
    session.readModifiers = ModifiersOf(session, event.state);
    const bool alt = (session.readModifiers & keyModifier::alt) != 0 || key == altKey;
    const bool system = (alt && (session.readModifiers & keyModifier::control) == 0) || key == f10Key;
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

/// A cursor of the standard font, made once.
xcb_cursor_t CursorOf(Session& session, CursorShape shape) {
    xcb_cursor_t& cursor = session.cursors[shape == CursorShape::Hand ? 1 : 0];
    if (cursor == XCB_CURSOR_NONE) {
        constexpr std::uint16_t leftPointer = 68;
        constexpr std::uint16_t hand = 60;
        const std::uint16_t glyph = shape == CursorShape::Hand ? hand : leftPointer;
        xcb_connection_t* connection = session.connection.get();
        const xcb_font_t font = xcb_generate_id(connection);
        xcb_open_font(connection, font, 6, "cursor");
        cursor = xcb_generate_id(connection);
        xcb_create_glyph_cursor(connection, cursor, font, font, glyph, static_cast<std::uint16_t>(glyph + 1), 0, 0, 0,
                                0xFFFF, 0xFFFF, 0xFFFF);
        xcb_close_font(connection, font);
    }
    return cursor;
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

void CaptureMouse(AppWindow& window) { x11::CurrentSession().mouseOwner = &window; }

bool HasMouse(AppWindow& window) { return x11::CurrentSession().mouseOwner == &window; }

void ReleaseMouse(AppWindow& window) {
    if (HasMouse(window)) {
        x11::CurrentSession().mouseOwner = nullptr;
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

std::uint32_t HeldModifiers() { return x11::CurrentSession().heldModifiers; }

}  // namespace zv
