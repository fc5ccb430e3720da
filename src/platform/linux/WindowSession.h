// The one connection of the interface thread to the X server, and what the message loop keeps for it.
//
// Everything in here belongs to the interface thread. A connection that broke stays in place: XCB answers every
// later call with nothing, so no caller needs to ask first.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "platform/Window.h"
#include "platform/linux/Xcb.h"

namespace zv {

struct AppWindow {
    xcb_window_t id = XCB_WINDOW_NONE;
    WindowProc procedure = nullptr;
    bool shown = false;
    bool ended = false;  ///< has received message::destroy
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
    std::uint16_t altMask = XCB_MOD_MASK_1;
    std::uint16_t numLockMask = XCB_MOD_MASK_2;
    std::vector<GlobalKey> keys;
    std::uint8_t xkbEvent = 0;  ///< 0: the server has no XKB
    bool mappingChanged = false;
};

struct Session {
    std::unique_ptr<xcb_connection_t, Disconnect> connection;
    xcb_screen_t* screen = nullptr;
    Atoms atoms;
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

// GlobalKeys.cpp
/// Asks for keyboard events that tell a repeat from a press, and reads the modifier mapping.
void OpenKeyboard(Session& session);
/// True when the event was one of the keyboard's.
bool HandleKeyboardEvent(Session& session, const xcb_generic_event_t& event);
/// Reserves every key anew after the mapping has changed.
void FollowKeyboardMapping(Session& session);

}  // namespace x11
}  // namespace zv
