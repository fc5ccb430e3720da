// The icon in the desktop's notification area, over D-Bus or by the freedesktop system tray protocol.
//
// For the latter, the area's host owns a selection of the screen. The icon is one of our windows. The host reparents it
// into its own window, and it is destroyed with that window. A new host sends a message to the root; then every window
// receives TaskbarCreatedMessage.
#include "platform/TrayIcon.h"

#include <xcb/xcb_icccm.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "platform/Files.h"
#include "platform/linux/cairo/IconPixels.h"
#include "platform/linux/dbus/StatusNotifier.h"
#include "platform/linux/posix/Posix.h"
#include "platform/linux/x11/window/PopupMenu.h"
#include "platform/linux/x11/window/Session.h"
#include "platform/linux/x11/window/TrayIcon.h"

namespace zv {

namespace x11 {

/// A bridge or a host on D-Bus passes clicks on without the server's time and with positions of its own.
struct TrayClick {
    std::optional<std::uint32_t> serverMs;
    std::int64_t receivedNs = 0;
    Point at;  ///< on the screen
};

}  // namespace x11

struct TrayIcon {
    xcb_window_t id = XCB_WINDOW_NONE;
    TrayIconOptions options;
    int size = 0;
    xcb_gcontext_t context = XCB_NONE;
    std::unique_ptr<dbus::StatusNotifier> notifier;  ///< null: the icon is a window
    x11::TrayClick lastClick;
    bool clicked = false;        ///< a second click makes it a double click
    bool releaseIsDone = false;  ///< of a click that was already handled at its press
};

namespace x11 {
namespace {

constexpr std::uint32_t taskbarCreated = 0xC000;
constexpr std::uint32_t doubleClickMs = 400;
constexpr int doubleClickSlack = 4;
constexpr int firstSize = 22;

/// The program's only tray icon, or null.
TrayIcon* shownIcon = nullptr;

/// A pixel of the default picture, a framed box.
std::uint32_t PlainPixel(int x, int y, int size) {
    const bool frame = x == 0 || y == 0 || x == size - 1 || y == size - 1;
    return frame ? 0xFF808080U : 0xFFE0E0E0U;
}

/// The icon's pixels, scaled to the window by the nearest neighbour.
std::vector<std::uint32_t> PixelsAt(const TrayIcon& icon) {
    const AppIcon* picture = icon.options.icon;
    std::vector<std::uint32_t> pixels;
    pixels.reserve(static_cast<std::size_t>(icon.size) * static_cast<std::size_t>(icon.size));
    for (int y = 0; y < icon.size; ++y) {
        for (int x = 0; x < icon.size; ++x) {
            const auto at = [&](int position) {
                return static_cast<std::size_t>(position * picture->size / icon.size);
            };
            pixels.push_back(picture != nullptr
                                 ? picture->pixels[at(y) * static_cast<std::size_t>(picture->size) + at(x)]
                                 : PlainPixel(x, y, icon.size));
        }
    }
    return pixels;
}

void Paint(Session& session, const TrayIcon& icon) {
    const std::vector<std::uint32_t> pixels = PixelsAt(icon);
    const auto size = static_cast<std::uint16_t>(icon.size);
    xcb_put_image(session.connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, icon.id, icon.context, size, size, 0, 0, 0,
                  session.screen->root_depth, static_cast<std::uint32_t>(pixels.size() * sizeof pixels[0]),
                  reinterpret_cast<const std::uint8_t*>(pixels.data()));
}

void QueueTrayEvent(Session& session, const TrayIcon& icon, std::uint32_t event) {
    session.loop.queue.push_back({icon.options.window, icon.options.message, 0, static_cast<std::intptr_t>(event)});
}

/// Closes the menu that the first click opened, or prevents it from opening.
void QueueDoubleClick(Session& session, const TrayIcon& icon) {
    std::erase_if(session.loop.queue, [&](const Message& waiting) {
        return waiting.window == icon.options.window && waiting.code == icon.options.message &&
               waiting.lParam == static_cast<std::intptr_t>(trayEvent::select);
    });
    CloseMenu();
    QueueTrayEvent(session, icon, message::leftButtonDoubleClick);
}

/// A click that another program passes on.
TrayClick ForwardedClick() { return {std::nullopt, MonotonicNs(), CursorPosition()}; }

TrayClick ClickOf(const xcb_button_press_event_t& event) {
    constexpr unsigned sentByAClient = 0x80;
    return (event.response_type & sentByAClient) != 0
               ? ForwardedClick()
               : TrayClick{event.time, MonotonicNs(), {event.root_x, event.root_y}};
}

bool InTime(const TrayClick& first, const TrayClick& second) {
    return first.serverMs && second.serverMs
               ? *second.serverMs - *first.serverMs <= doubleClickMs
               : second.receivedNs - first.receivedNs <= std::int64_t{doubleClickMs} * 1'000'000;
}

/// Sends the events of Windows in the same order: the first click selects, the second one opens.
void HandleClick(Session& session, TrayIcon& icon, const TrayClick& click) {
    const bool inTime = InTime(icon.lastClick, click);
    if (std::exchange(icon.releaseIsDone, false) && inTime) {
        return;
    }
    const bool second = icon.clicked && inTime;
    icon.clicked = !second;
    icon.lastClick = click;
    if (second) {
        QueueDoubleClick(session, icon);
    } else {
        QueueTrayEvent(session, icon, trayEvent::select);
    }
}

void HandleButton(Session& session, TrayIcon& icon, const xcb_button_press_event_t& event) {
    if (event.detail == XCB_BUTTON_INDEX_3) {
        QueueTrayEvent(session, icon, message::rightButtonUp);
    } else if (event.detail == XCB_BUTTON_INDEX_1) {
        HandleClick(session, icon, ClickOf(event));
    }
}

bool HandleTrayEvent(Session& session, const xcb_generic_event_t& event) {
    if (shownIcon == nullptr) {
        return false;
    }
    TrayIcon& icon = *shownIcon;
    const std::uint8_t type = event.response_type & 0x7FU;
    if (type == XCB_EXPOSE && reinterpret_cast<const xcb_expose_event_t&>(event).window == icon.id) {
        Paint(session, icon);
        return true;
    }
    if (type == XCB_CONFIGURE_NOTIFY && reinterpret_cast<const xcb_configure_notify_event_t&>(event).event == icon.id) {
        const auto& size = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
        icon.size = std::max<int>(std::min(size.width, size.height), 1);
        Paint(session, icon);
        return true;
    }
    if (type == XCB_BUTTON_RELEASE && reinterpret_cast<const xcb_button_press_event_t&>(event).event == icon.id) {
        HandleButton(session, icon, reinterpret_cast<const xcb_button_press_event_t&>(event));
        return true;
    }
    if (type == XCB_REPARENT_NOTIFY) {
        // A host that ends reparents its icons to the root window.
        const auto& moved = reinterpret_cast<const xcb_reparent_notify_event_t&>(event);
        if (moved.window == icon.id && moved.parent == session.screen->root) {
            xcb_destroy_window(session.connection.get(), icon.id);
        }
        return moved.window == icon.id;
    }
    if (type == XCB_DESTROY_NOTIFY && reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window == icon.id) {
        icon.id = XCB_WINDOW_NONE;
        QueueTaskbarCreated(session);
        return true;
    }
    return false;
}

xcb_window_t MakeIconWindow(Session& session) {
    xcb_connection_t* connection = session.connection.get();
    const xcb_window_t id = xcb_generate_id(connection);
    const std::array<std::uint32_t, 2> values{session.screen->black_pixel,
                                              XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                                                  XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE};
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, id, session.screen->root, -firstSize, -firstSize, firstSize,
                      firstSize, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values.data());
    return id;
}

void Describe(Session& session, const TrayIcon& icon) {
    xcb_connection_t* connection = session.connection.get();
    constexpr std::size_t mostUnits = 127;
    const std::string tip = ToPath(icon.options.tip.substr(0, mostUnits)).string();
    for (const xcb_atom_t name : {session.atoms.netWmName, xcb_atom_t{XCB_ATOM_WM_NAME}}) {
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, icon.id, name, session.atoms.utf8String, 8,
                            static_cast<std::uint32_t>(tip.size()), tip.data());
    }
    constexpr std::string_view className("zorvel\0Zorvel\0", 14);
    xcb_icccm_set_wm_class(connection, icon.id, static_cast<std::uint32_t>(className.size()), className.data());
    // Hosts shrink a window to its minimum size.
    xcb_size_hints_t hints{};
    xcb_icccm_size_hints_set_min_size(&hints, firstSize, firstSize);
    xcb_icccm_set_wm_normal_hints(connection, icon.id, &hints);
    constexpr std::array<std::uint32_t, 2> embedding{0, 1};  // version 0, mapped
    const xcb_atom_t info = session.atoms.xembedInfo;
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, icon.id, info, info, 32, 2, embedding.data());
}

/// Requests that the host embeds the window.
void Dock(Session& session, const TrayIcon& icon, xcb_window_t host) {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = host;
    event.type = session.atoms.netSystemTrayOpcode;
    constexpr std::uint32_t requestDock = 0;
    event.data.data32[0] = XCB_CURRENT_TIME;
    event.data.data32[1] = requestDock;
    event.data.data32[2] = icon.id;
    xcb_send_event(session.connection.get(), 0, host, 0, reinterpret_cast<const char*>(&event));
}

std::vector<dbus::NotifierMenuItem> MenuOf(const TrayIcon& icon) {
    std::vector<dbus::NotifierMenuItem> items;
    for (const MenuItem& item : icon.options.menu()) {
        items.push_back({item.id, ToPath(item.label).string()});
    }
    return items;
}

/// Returns null if no notification area is reached over D-Bus.
Owned<TrayIcon> AddNotifier(const TrayIconOptions& options) {
    Session& session = CurrentSession();
    Owned<TrayIcon> icon(new TrayIcon);
    TrayIcon& added = *icon;
    added.options = options;
    added.notifier = std::make_unique<dbus::StatusNotifier>();
    dbus::NotifierOptions notifier;
    notifier.title = ToPath(options.tip).string();
    if (options.icon != nullptr) {
        notifier.iconSize = options.icon->size;
        notifier.iconPixels = options.icon->pixels;
    }
    notifier.activate = [&] { HandleClick(session, added, ForwardedClick()); };
    notifier.openMenu = [&] { QueueTrayEvent(session, added, trayEvent::contextMenu); };
    notifier.items = [&] { return MenuOf(added); };
    notifier.choose = [&](int id) {
        session.loop.queue.push_back({added.options.window, added.options.message, static_cast<std::uintptr_t>(id),
                                      static_cast<std::intptr_t>(trayEvent::chosen)});
    };
    if (options.menu == nullptr || !added.notifier->Show(std::move(notifier))) {
        return nullptr;
    }
    shownIcon = icon.get();
    return icon;
}

void WatchHosts() {
    static std::once_flag watched;
    std::call_once(watched, [] { dbus::WatchNotifierHosts([] { QueueTaskbarCreated(CurrentSession()); }); });
}

}  // namespace

void QueueTaskbarCreated(Session& session) {
    for (AppWindow* each : session.windows) {
        session.loop.queue.push_back({each, taskbarCreated, 0, 0});
    }
}

bool HandleSecondTrayClick(Session& session, const xcb_button_press_event_t& press) {
    TrayIcon* icon = shownIcon;
    const TrayClick click = ClickOf(press);
    if (icon == nullptr || !icon->clicked || press.detail != XCB_BUTTON_INDEX_1 || !InTime(icon->lastClick, click) ||
        std::abs(click.at.x - icon->lastClick.at.x) > doubleClickSlack ||
        std::abs(click.at.y - icon->lastClick.at.y) > doubleClickSlack) {
        return false;
    }
    icon->clicked = false;
    icon->releaseIsDone = true;
    icon->lastClick = click;
    QueueDoubleClick(session, *icon);
    return true;
}

}  // namespace x11

template <>
void Closer<TrayIcon>::operator()(TrayIcon* icon) const noexcept {
    x11::Session& session = x11::CurrentSession();
    xcb_connection_t* connection = session.connection.get();
    if (x11::shownIcon == icon) {
        x11::shownIcon = nullptr;
    }
    if (connection != nullptr && !icon->notifier) {
        xcb_free_gc(connection, icon->context);
        if (icon->id != XCB_WINDOW_NONE) {  // none if it was destroyed with its host
            xcb_destroy_window(connection, icon->id);
        }
        xcb_flush(connection);
    }
    delete icon;
}

Owned<TrayIcon> AddTrayIcon(const TrayIconOptions& options) {
    x11::Session& session = x11::CurrentSession();
    x11::WatchHosts();
    if (x11::shownIcon == nullptr) {
        if (Owned<TrayIcon> icon = x11::AddNotifier(options)) {
            return icon;
        }
    }
    xcb_connection_t* connection = session.connection.get();
    const xcb_window_t host = x11::SelectionOwner(session, session.atoms.traySelection).value_or(XCB_WINDOW_NONE);
    if (host == XCB_WINDOW_NONE || x11::shownIcon != nullptr) {
        return nullptr;
    }
    Owned<TrayIcon> icon(new TrayIcon);
    icon->id = x11::MakeIconWindow(session);
    icon->options = options;
    icon->size = x11::firstSize;
    icon->context = xcb_generate_id(connection);
    xcb_create_gc(connection, icon->context, icon->id, 0, nullptr);
    x11::Describe(session, *icon);
    x11::Dock(session, *icon, host);
    xcb_flush(connection);
    x11::shownIcon = icon.get();
    if (std::find(session.listeners.begin(), session.listeners.end(), x11::HandleTrayEvent) ==
        session.listeners.end()) {
        session.listeners.push_back(x11::HandleTrayEvent);
    }
    return icon;
}

std::uint32_t TaskbarCreatedMessage() { return x11::taskbarCreated; }

}  // namespace zv
