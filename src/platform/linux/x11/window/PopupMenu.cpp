// A menu at the pointer: a bare window that grabs pointer and keyboard while it is open.
//
// The message loop continues to run, so timers and windows work. The menu closes on a choice, on Escape, on a click
// outside it, and at the end of the loop.
#include "platform/PopupMenu.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>

#include "platform/Canvas.h"
#include "platform/linux/cairo/LineWidth.h"
#include "platform/linux/x11/window/PopupMenu.h"
#include "platform/linux/x11/window/Session.h"
#include "platform/linux/x11/window/TrayIcon.h"
#include "platform/linux/x11/window/WindowPixels.h"
#include "platform/linux/x11/window/WindowQueries.h"
#include "platform/software/PopupMenuModel.h"

namespace zv {
namespace x11 {
namespace {

struct Menu {
    PopupMenuModel model;
    AppWindow surface;  ///< only for painting; it receives no messages
    Owned<Font> font;
    Owned<Canvas> canvas;
};

Menu* open = nullptr;

int WidestLabel(std::span<const MenuItem> items, const Font& font) {
    double widest = 0;
    for (const MenuItem& item : items) {
        widest = std::max(widest, WidthOfLine(font, item.label));
    }
    return static_cast<int>(std::ceil(widest));
}

void Paint(Menu& menu) {
    PaintMenu(menu.model, *menu.canvas, *menu.font);
    const PixelView pixels = PixelsOf(*menu.canvas);
    PutPixels(menu.surface, pixels.pixels, pixels.width, pixels.height);
}

/// The grabs send all input to the menu's window.
bool HandleMenuEvent(Session& session, const xcb_generic_event_t& event) {
    if (open == nullptr) {
        return false;
    }
    Menu& menu = *open;
    const std::uint8_t type = event.response_type & 0x7FU;
    if (type == XCB_EXPOSE) {
        const bool isOwn = reinterpret_cast<const xcb_expose_event_t&>(event).window == menu.surface.id;
        if (isOwn) {
            Paint(menu);
        }
        return isOwn;
    }
    const bool isInput =
        type == XCB_MOTION_NOTIFY || type == XCB_BUTTON_PRESS || type == XCB_BUTTON_RELEASE || type == XCB_KEY_PRESS;
    // The events of pointer and keyboard have the same layout.
    const auto& input = reinterpret_cast<const xcb_button_press_event_t&>(event);
    if (!isInput || input.event != menu.surface.id) {
        return false;
    }
    const Point point{input.event_x, input.event_y};
    bool repaint = false;
    if (type == XCB_MOTION_NOTIFY) {
        repaint = MovePointerOverMenu(menu.model, point);
    } else if (type == XCB_KEY_PRESS) {
        repaint = PressKeyOnMenu(menu.model, VirtualKeyOf(session, input.detail));
    } else if (type == XCB_BUTTON_PRESS) {
        if (!HandleSecondTrayClick(session, input)) {
            PressButtonOnMenu(menu.model, point);
        }
    } else if (input.detail <= XCB_BUTTON_INDEX_3) {
        ReleaseButtonOnMenu(menu.model, point);
    }
    if (repaint) {
        Paint(menu);
    }
    return true;
}

xcb_window_t MakeMenuWindow(Session& session, const Rectangle& bounds) {
    xcb_connection_t* connection = session.connection.get();
    const xcb_window_t id = xcb_generate_id(connection);
    constexpr std::uint32_t events = XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_POINTER_MOTION |
                                     XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
                                     XCB_EVENT_MASK_KEY_PRESS;
    const std::array<std::uint32_t, 3> values{session.screen->black_pixel, 1, events};
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, id, session.screen->root,
                      static_cast<std::int16_t>(bounds.left), static_cast<std::int16_t>(bounds.top),
                      static_cast<std::uint16_t>(bounds.Width()), static_cast<std::uint16_t>(bounds.Height()), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values.data());
    xcb_map_window(connection, id);
    return id;
}

bool GrabOnce(Session& session, xcb_window_t id) {
    xcb_connection_t* connection = session.connection.get();
    constexpr std::uint16_t events =
        XCB_EVENT_MASK_POINTER_MOTION | XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE;
    const xcb_grab_pointer_cookie_t pointer =
        xcb_grab_pointer(connection, 0, id, events, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_WINDOW_NONE,
                         XCB_CURSOR_NONE, XCB_CURRENT_TIME);
    const xcb_grab_keyboard_cookie_t keyboard =
        xcb_grab_keyboard(connection, 0, id, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    const Reply<xcb_grab_pointer_reply_t> gotPointer(xcb_grab_pointer_reply(connection, pointer, nullptr));
    const Reply<xcb_grab_keyboard_reply_t> gotKeyboard(xcb_grab_keyboard_reply(connection, keyboard, nullptr));
    return gotPointer && gotPointer->status == XCB_GRAB_STATUS_SUCCESS && gotKeyboard &&
           gotKeyboard->status == XCB_GRAB_STATUS_SUCCESS;
}

/// Retries, because the host of the notification area may still have grabbed the pointer for the click that opened the
/// menu.
bool GrabInput(Session& session, xcb_window_t id) {
    constexpr int tries = 20;
    constexpr timespec pause{0, 10'000'000};
    for (int i = 0; i < tries && xcb_connection_has_error(session.connection.get()) == 0; ++i) {
        if (GrabOnce(session, id)) {
            return true;
        }
        clock_nanosleep(CLOCK_MONOTONIC, 0, &pause, nullptr);
    }
    return false;
}

void Close(Session& session, Menu& menu) {
    xcb_connection_t* connection = session.connection.get();
    open = nullptr;
    session.menuWindow = XCB_WINDOW_NONE;
    xcb_ungrab_pointer(connection, XCB_CURRENT_TIME);
    xcb_ungrab_keyboard(connection, XCB_CURRENT_TIME);
    ReleasePixels(session, menu.surface);
    xcb_destroy_window(connection, menu.surface.id);
    xcb_flush(connection);
}

void Run(Session& session, Menu& menu) {
    open = &menu;
    session.menuWindow = menu.surface.id;
    if (std::find(session.listeners.begin(), session.listeners.end(), HandleMenuEvent) == session.listeners.end()) {
        session.listeners.insert(session.listeners.begin(), HandleMenuEvent);
    }
    if (!GrabInput(session, menu.surface.id)) {
        return;
    }
    while (!menu.model.closed && !session.loop.serverLost && RunLoopOnce(session)) {
    }
}

}  // namespace

void CloseMenu() {
    if (open != nullptr) {
        CloseMenuWith(open->model, -1);
    }
}

}  // namespace x11

int ChooseFromMenu(AppWindow& owner, std::span<const MenuItem> items) {
    x11::Session& session = x11::CurrentSession();
    if (x11::open != nullptr || items.empty()) {
        return 0;
    }
    x11::Menu menu;
    menu.font = MakeFont(menuFontHeight, 400);
    if (!menu.font) {
        return 0;
    }
    menu.model = MakePopupMenuModel(items, x11::WidestLabel(items, *menu.font), session.dpi / 96.0);
    const Point pointer = CursorPosition();
    const Rectangle bounds = MenuBoundsAt(menu.model, pointer, x11::MonitorBoundsAt(x11::CurrentSession(), pointer));
    menu.canvas = MakeCanvas(bounds.Width(), bounds.Height());
    if (!menu.canvas) {
        return 0;
    }
    menu.surface.id = x11::MakeMenuWindow(session, bounds);
    SetCursorShape(menu.surface, CursorShape::Arrow);
    x11::Run(session, menu);
    x11::Close(session, menu);
    session.loop.queue.push_back({&owner, message::null, 0, 0});
    return menu.model.chosenId;
}

}  // namespace zv
