// The one connection of the interface thread to the X server, and what the message loop keeps for it.
//
// Everything in here belongs to the interface thread. A connection that broke stays in place: XCB answers every
// later call with nothing, so no caller needs to ask first.
#pragma once

#include <xcb/shm.h>
#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Window.h"
#include "platform/linux/x11/SharedMemory.h"
#include "platform/linux/x11/Xcb.h"

namespace zv {

namespace x11 {

/// The memory that the server reads a window's pixels from.
struct PixelUpload {
    SharedMemory memory;
    std::optional<xcb_void_cookie_t> pending;  ///< the request that may still read it
};

}  // namespace x11

struct AppWindow {
    xcb_window_t id = XCB_WINDOW_NONE;
    WindowProc procedure = nullptr;
    bool shown = false;
    bool ended = false;  ///< has received message::destroy
    bool bare = false;   ///< the window manager leaves it alone
    bool topmost = false;
    bool excluded = false;   ///< from captures
    bool viewable = false;   ///< the server has it on the screen
    bool mustPaint = false;  ///< message::paint is due
    bool tracksLeave = false;
    xcb_window_t focusBefore = XCB_WINDOW_NONE;  ///< who had the keyboard before this one took it
    int width = 0;                               ///< of the client area, as the procedure was told last
    int height = 0;
    /// Of a bare window: where the server was asked to put it last, or where somebody else has moved it since.
    Rectangle place;
    unsigned placedBy = 0;                  ///< number of that request
    Rectangle suggested;                    ///< what the last message::dpiChanged pointed to
    std::optional<std::uint32_t> keyPixel;  ///< 0x00RRGGBB: pixels that are not there
    std::vector<xcb_rectangle_t> shape;     ///< what the server was told last
    xcb_gcontext_t context = XCB_NONE;
    x11::PixelUpload upload;
    std::int64_t raisesSinceNs = 0;  ///< beginning of the second that `raises` counts in
    int raises = 0;
};

namespace x11 {

struct Atoms {
    xcb_atom_t wmProtocols = XCB_ATOM_NONE;
    xcb_atom_t wmDeleteWindow = XCB_ATOM_NONE;
    xcb_atom_t netWmPing = XCB_ATOM_NONE;
    xcb_atom_t netWmName = XCB_ATOM_NONE;
    xcb_atom_t netWmPid = XCB_ATOM_NONE;
    xcb_atom_t netActiveWindow = XCB_ATOM_NONE;
    xcb_atom_t utf8String = XCB_ATOM_NONE;
    xcb_atom_t windowClass = XCB_ATOM_NONE;  ///< property of every window of ours: its class name
    xcb_atom_t comeForward = XCB_ATOM_NONE;  ///< message of a second copy to the first one's window
    xcb_atom_t netWmState = XCB_ATOM_NONE;
    xcb_atom_t netWmStateAbove = XCB_ATOM_NONE;
    xcb_atom_t netWmStateSkipTaskbar = XCB_ATOM_NONE;
    xcb_atom_t netWmWindowType = XCB_ATOM_NONE;
    xcb_atom_t netWmWindowTypeDialog = XCB_ATOM_NONE;
    xcb_atom_t netWmWindowTypeNotification = XCB_ATOM_NONE;
    xcb_atom_t netWmWindowOpacity = XCB_ATOM_NONE;
    xcb_atom_t netWmIcon = XCB_ATOM_NONE;
    xcb_atom_t netWorkarea = XCB_ATOM_NONE;
    xcb_atom_t gtkThemeVariant = XCB_ATOM_NONE;
    xcb_atom_t netWmWindowTypeDesktop = XCB_ATOM_NONE;
    xcb_atom_t netWmWindowTypeDock = XCB_ATOM_NONE;
    xcb_atom_t netSupportingWmCheck = XCB_ATOM_NONE;
    xcb_atom_t wmState = XCB_ATOM_NONE;
    xcb_atom_t manager = XCB_ATOM_NONE;
    xcb_atom_t traySelection = XCB_ATOM_NONE;        ///< _NET_SYSTEM_TRAY_S and the number of the screen
    xcb_atom_t compositorSelection = XCB_ATOM_NONE;  ///< _NET_WM_CM_S and the number of the screen
};

struct Timer {
    AppWindow* window = nullptr;
    std::uintptr_t id = 0;
    std::int64_t periodNs = 0;
    std::int64_t dueNs = 0;
};

struct Message {
    AppWindow* window = nullptr;
    std::uint32_t code = message::null;
    std::uintptr_t wParam = 0;
    std::intptr_t lParam = 0;
    std::optional<std::uint32_t> heldModifiers =
        std::nullopt;  ///< when the user did it; several events are read at once
};

struct GlobalKey {
    AppWindow* window = nullptr;
    int id = 0;
    std::uint32_t modifiers = 0;
    std::uint32_t virtualKey = 0;
    std::vector<xcb_keycode_t> codes;  ///< the keys that are reserved for it at this moment
    bool down = false;
};

/// What the keyboard looks like now; read again after every change of its mapping.
struct Keyboard {
    std::vector<xcb_keysym_t> symbols;  ///< the first two of each key code, empty until they are asked for
    std::uint16_t altMask = XCB_MOD_MASK_1;
    std::uint16_t numLockMask = XCB_MOD_MASK_2;
    std::vector<GlobalKey> keys;
    std::uint8_t xkbEvent = 0;  ///< 0: the server has no XKB
    bool mappingChanged = false;
};

struct Session {
    Connection connection;
    const xcb_screen_t* screen = nullptr;
    int screenNumber = 0;
    Atoms atoms;
    int dpi = 96;
    std::uint32_t readModifiers = 0;  ///< bits of keyModifier at the event that was read last
    std::uint32_t heldModifiers = 0;  ///< the same at the message that is being handled
    AppWindow* mouseOwner = nullptr;  ///< the one that CaptureMouse was called for
    std::array<xcb_cursor_t, 2> cursors{};
    xcb_window_t menu = XCB_WINDOW_NONE;  ///< the open menu's
    bool stackChanged = false;            ///< other programs' windows have moved
    bool redirected = false;              ///< the root's windows keep their pictures while one of ours is over them
    /// Events of windows that are no AppWindow: the tray's icon and the menu. True when it was theirs.
    std::vector<bool (*)(Session&, const xcb_generic_event_t&)> listeners;
    std::vector<AppWindow*> windows;
    std::vector<Timer> timers;
    std::deque<Message> queue;
    Keyboard keyboard;
    std::uint8_t randrEvent = 0;          ///< 0: the server has no RandR
    std::int64_t displayChangeDueNs = 0;  ///< 0: none is under way
    bool serverLost = false;
    bool quitting = false;
    int quitCode = 0;
};

Session& CurrentSession();

xcb_atom_t InternAtom(xcb_connection_t* connection, const std::string& name);

/// What stands in a property of 8-bit units, empty when there is none.
std::string ReadTextProperty(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property);

/// Sends a client message of one datum. `target` is where it is delivered, `subject` the window it is about.
void SendClientMessage(xcb_window_t target, xcb_window_t subject, xcb_atom_t type, std::uint32_t eventMask,
                       std::uint32_t firstDatum);

// Window.cpp
AppWindow* WindowOf(Session& session, xcb_window_t id);
std::intptr_t Send(AppWindow& window, std::uint32_t code, std::uintptr_t wParam = 0, std::intptr_t lParam = 0);
/// Coordinates in the two words of an lParam.
inline std::intptr_t MakeLParam(int low, int high) {
    return static_cast<std::intptr_t>(static_cast<std::uint32_t>(low & 0xFFFF) |
                                      static_cast<std::uint32_t>(high & 0xFFFF) << 16U);
}
/// One turn of the message loop, which waits when nothing is to be done. False once the loop has to end.
bool RunOneTurn(Session& session);
/// The window of the client that plays that part now, none when nobody does; nothing when the server does not answer.
std::optional<xcb_window_t> SelectionOwner(const Session& session, xcb_atom_t selection);

// WindowPixels.cpp
/// Sends message::paint to one window that needs it. False when none does.
bool DispatchPaint(Session& session);
void ReleasePixels(Session& session, AppWindow& window);
/// Lets clicks through the whole window.
void LetClicksThrough(Session& session, AppWindow& window);

// WindowInput.cpp
/// Mouse, keys and focus of the windows become messages. True when the event was one of these.
bool HandleInputEvent(Session& session, const xcb_generic_event_t& event);

// WindowPlaces.cpp
/// Size, place and visibility of the windows become messages. True when the event was one of these.
bool HandlePlaceEvent(Session& session, const xcb_generic_event_t& event);
/// Raises the topmost windows that others have come to cover.
void FollowStack(Session& session);
/// Reads the DPI of the session; tells the windows when it is another one.
void FollowDpi(Session& session);
/// Before the server forgets the window.
void ForgetWindow(Session& session, AppWindow& window);

// WindowQueries.cpp
/// The first 32-bit value of a property.
std::optional<std::uint32_t> NumberOf(Session& session, xcb_window_t window, xcb_atom_t property);
/// The window of the server that holds `window` and, where a window manager frames it, the frame.
xcb_window_t TopLevelOf(xcb_connection_t* connection, xcb_window_t root, xcb_window_t window);

// GlobalKeys.cpp
/// The Windows virtual-key code of an event's key, 0 when it has none.
std::uint32_t VirtualKeyOf(Session& session, xcb_keycode_t code);
/// The bits of keyModifier in an event's state.
std::uint32_t ModifiersOf(const Session& session, std::uint16_t state);
/// Asks for keyboard events that tell a repeat from a press, and reads the modifier mapping.
void OpenKeyboard(Session& session);
/// True when the event was one of the keyboard's.
bool HandleKeyboardEvent(Session& session, const xcb_generic_event_t& event);
/// Reserves the keys that a change of the mapping has moved where they are now.
void FollowKeyboardMapping(Session& session);

// PopupMenu.cpp
/// Without a choice. Nothing when no menu is open.
void EndMenu();

// TrayIcon.cpp
/// Whether the press, which an open menu got, is the second of a double click on the icon. The menu has ended then.
bool TakeSecondTrayClick(Session& session, const xcb_button_press_event_t& press);

}  // namespace x11
}  // namespace zv
