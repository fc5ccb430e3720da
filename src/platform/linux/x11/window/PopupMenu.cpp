// A menu of our own at the pointer, as X11 has none: a bare window that holds pointer and keyboard while it is open.
//
// The message loop turns on underneath, so timers and windows go on. The menu ends by a choice, Escape, a click outside
// it, or the end of the loop.
#include "platform/PopupMenu.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>

#include "platform/Canvas.h"
#include "platform/Monitors.h"
#include "platform/linux/cairo/LineWidth.h"
#include "platform/linux/x11/RandrMonitors.h"
#include "platform/linux/x11/window/WindowSession.h"

namespace zv {
namespace x11 {
namespace {

constexpr Color menuColor = Rgb(26, 28, 38);
constexpr Color frameColor = Rgb(69, 72, 92);
constexpr Color chosenColor = Rgb(57, 47, 84);
constexpr Color textColor = Rgb(241, 242, 250);

// Of the design, at 96 DPI.
constexpr int rowHeight = 28;
constexpr int separatorHeight = 9;
constexpr int margin = 4;
constexpr int textLeft = 16;
constexpr int fontHeight = 17;

constexpr std::uint32_t enterKey = 13;
constexpr std::uint32_t escapeKey = 27;
constexpr std::uint32_t spaceKey = 32;
constexpr std::uint32_t upKey = 38;
constexpr std::uint32_t downKey = 40;

struct Menu {
    std::span<const MenuItem> items;
    std::vector<Rectangle> rows;  ///< in design pixels
    int width = 0;                ///< in design pixels
    int height = 0;
    double scale = 1;
    AppWindow surface;  ///< only what painting needs of it; it receives no messages
    int chosen = -1;    ///< index of the row under the pointer
    bool done = false;
    int answer = 0;
    Owned<Font> font;
    Owned<Canvas> canvas;
};

Menu* open = nullptr;

int WidestLabel(const Menu& menu) {
    double widest = 0;
    for (const MenuItem& item : menu.items) {
        widest = std::max(widest, WidthOfLine(*menu.font, item.label));
    }
    return static_cast<int>(std::ceil(widest));
}

void LayOut(Menu& menu) {
    menu.width = WidestLabel(menu) + 2 * textLeft;
    int y = margin;
    for (const MenuItem& item : menu.items) {
        const int height = item.id == 0 ? separatorHeight : rowHeight;
        menu.rows.push_back({margin, y, menu.width - margin, y + height});
        y += height;
    }
    menu.height = y + margin;
}

int Scaled(const Menu& menu, int design) { return static_cast<int>(design * menu.scale); }

/// Beside the pointer, and wholly on its monitor as far as it fits there.
Rectangle PlaceAt(const Menu& menu, Point pointer) {
    const Rectangle monitor = MonitorAt(pointer).bounds;
    const int width = Scaled(menu, menu.width);
    const int height = Scaled(menu, menu.height);
    const int left = pointer.x + width > monitor.right ? pointer.x - width : pointer.x;
    const int top = pointer.y + height > monitor.bottom ? pointer.y - height : pointer.y;
    const Point at{std::max(left, monitor.left), std::max(top, monitor.top)};
    return {at.x, at.y, at.x + width, at.y + height};
}

void Paint(Menu& menu) {
    Canvas& canvas = *menu.canvas;
    PushTransform(canvas, {0, 0}, menu.scale);
    const Rectangle all{0, 0, menu.width, menu.height};
    FillBox(canvas, all, menuColor);
    FrameBox(canvas, all, 1, frameColor);
    for (std::size_t i = 0; i < menu.items.size(); ++i) {
        const Rectangle& row = menu.rows[i];
        if (menu.items[i].id == 0) {
            const int middle = (row.top + row.bottom) / 2;
            FillBox(canvas, {row.left + margin, middle, row.right - margin, middle + 1}, frameColor);
            continue;
        }
        if (static_cast<int>(i) == menu.chosen) {
            FillRoundBox(canvas, row, 2 * margin, chosenColor);
        }
        const Rectangle text{textLeft, row.top, row.right, row.bottom};
        DrawTextInBox(canvas, text, menu.items[i].label, textColor, *menu.font, TextLayout::Line);
    }
    PopTransform(canvas);
    const PixelView pixels = PixelsOf(canvas);
    PutPixels(menu.surface, pixels.pixels, pixels.width, pixels.height);
}

int RowAt(const Menu& menu, int x, int y) {
    for (std::size_t i = 0; i < menu.rows.size(); ++i) {
        const Rectangle& row = menu.rows[i];
        if (menu.items[i].id != 0 && x >= Scaled(menu, row.left) && x < Scaled(menu, row.right) &&
            y >= Scaled(menu, row.top) && y < Scaled(menu, row.bottom)) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

bool IsInside(const Menu& menu, int x, int y) {
    return x >= 0 && y >= 0 && x < Scaled(menu, menu.width) && y < Scaled(menu, menu.height);
}

void Choose(Menu& menu, int row) {
    if (row != menu.chosen) {
        menu.chosen = row;
        Paint(menu);
    }
}

void End(Menu& menu, int row) {
    menu.done = true;
    menu.answer = row >= 0 ? menu.items[static_cast<std::size_t>(row)].id : 0;
}

void MoveChoice(Menu& menu, int step) {
    const int count = static_cast<int>(menu.items.size());
    int row = menu.chosen < 0 && step < 0 ? 0 : menu.chosen;
    for (int tries = 0; tries < count; ++tries) {
        row = (row + step + count) % count;
        if (menu.items[static_cast<std::size_t>(row)].id != 0) {
            Choose(menu, row);
            return;
        }
    }
}

void HandleKey(Session& session, Menu& menu, const xcb_key_press_event_t& event) {
    switch (VirtualKeyOf(session, event.detail)) {
        case escapeKey:
            End(menu, -1);
            break;
        case enterKey:
        case spaceKey:
            if (menu.chosen >= 0) {
                End(menu, menu.chosen);
            }
            break;
        case upKey:
            MoveChoice(menu, -1);
            break;
        case downKey:
            MoveChoice(menu, 1);
            break;
        default:
            break;
    }
}

/// Both grabs send everything to the menu's window, wherever it happens.
bool HandleMenuEvent(Session& session, const xcb_generic_event_t& event) {
    if (open == nullptr) {
        return false;
    }
    Menu& menu = *open;
    const xcb_window_t id = menu.surface.id;
    const auto& input = reinterpret_cast<const xcb_button_press_event_t&>(event);
    switch (event.response_type & 0x7FU) {
        case XCB_EXPOSE:
            if (reinterpret_cast<const xcb_expose_event_t&>(event).window != id) {
                return false;
            }
            Paint(menu);
            return true;
        case XCB_MOTION_NOTIFY:
            if (input.event == id) {
                Choose(menu, RowAt(menu, input.event_x, input.event_y));
            }
            return input.event == id;
        case XCB_BUTTON_PRESS:
            if (input.event == id && !TakeSecondTrayClick(session, input) &&
                !IsInside(menu, input.event_x, input.event_y)) {
                End(menu, -1);
            }
            return input.event == id;
        case XCB_BUTTON_RELEASE: {
            const int row = input.event == id ? RowAt(menu, input.event_x, input.event_y) : -1;
            if (row >= 0 && input.detail <= XCB_BUTTON_INDEX_3) {
                End(menu, row);
            }
            return input.event == id;
        }
        case XCB_KEY_PRESS:
            if (input.event == id) {
                HandleKey(session, menu, reinterpret_cast<const xcb_key_press_event_t&>(event));
            }
            return input.event == id;
        default:
            return false;
    }
}

xcb_window_t MakeMenuWindow(Session& session, const Rectangle& place) {
    xcb_connection_t* connection = session.connection.get();
    const xcb_window_t id = xcb_generate_id(connection);
    constexpr std::uint32_t events = XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_POINTER_MOTION |
                                     XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
                                     XCB_EVENT_MASK_KEY_PRESS;
    const std::array<std::uint32_t, 3> values{session.screen->black_pixel, 1, events};
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, id, session.screen->root, static_cast<std::int16_t>(place.left),
                      static_cast<std::int16_t>(place.top), static_cast<std::uint16_t>(place.Width()),
                      static_cast<std::uint16_t>(place.Height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK,
                      values.data());
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

/// The host of the notification area may still hold the pointer of the click that opened the menu.
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
    session.menu = XCB_WINDOW_NONE;
    xcb_ungrab_pointer(connection, XCB_CURRENT_TIME);
    xcb_ungrab_keyboard(connection, XCB_CURRENT_TIME);
    ReleasePixels(session, menu.surface);
    xcb_destroy_window(connection, menu.surface.id);
    xcb_flush(connection);
}

void Run(Session& session, Menu& menu) {
    open = &menu;
    session.menu = menu.surface.id;
    if (std::find(session.listeners.begin(), session.listeners.end(), HandleMenuEvent) == session.listeners.end()) {
        session.listeners.insert(session.listeners.begin(), HandleMenuEvent);
    }
    if (!GrabInput(session, menu.surface.id)) {
        return;
    }
    while (!menu.done && !session.serverLost && RunOneTurn(session)) {
    }
}

}  // namespace

void EndMenu() {
    if (open != nullptr) {
        End(*open, -1);
    }
}

}  // namespace x11

int ChooseFromMenu(AppWindow& owner, std::span<const MenuItem> items) {
    x11::Session& session = x11::CurrentSession();
    if (x11::open != nullptr || items.empty()) {
        return 0;
    }
    x11::Menu menu;
    menu.items = items;
    menu.scale = session.dpi / 96.0;
    menu.font = MakeFont(x11::fontHeight, 400);
    if (!menu.font) {
        return 0;
    }
    x11::LayOut(menu);
    const Rectangle place = x11::PlaceAt(menu, CursorPosition());
    menu.canvas = MakeCanvas(place.Width(), place.Height());
    if (!menu.canvas) {
        return 0;
    }
    menu.surface.id = x11::MakeMenuWindow(session, place);
    SetCursorShape(menu.surface, CursorShape::Arrow);
    x11::Run(session, menu);
    x11::Close(session, menu);
    session.queue.push_back({&owner, message::null, 0, 0});
    return menu.answer;
}

}  // namespace zv
