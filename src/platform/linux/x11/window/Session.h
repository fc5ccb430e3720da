// The interface thread's connection to the X server, and its state.
//
// Interface thread only. A broken connection is kept: XCB then returns no reply to any request, so that callers need
// not check it first.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/posix/CommandSocket.h"
#include "platform/linux/x11/Xcb.h"
#include "platform/linux/x11/window/AppWindow.h"
#include "platform/linux/x11/window/Atoms.h"
#include "platform/linux/x11/window/GlobalKeys.h"
#include "platform/linux/x11/window/Keyboard.h"
#include "platform/linux/x11/window/MessageLoop.h"
#include "platform/linux/x11/window/Redirection.h"
#include "platform/linux/x11/window/WindowInput.h"

namespace zv::x11 {

struct Session {
    Connection connection;
    const xcb_screen_t* screen = nullptr;
    Atoms atoms;
    int dpi = 96;
    std::uint8_t randrEvent = 0;                ///< 0: the server has no RandR
    xcb_window_t menuWindow = XCB_WINDOW_NONE;  ///< of the open menu
    bool foreignStackChanged = false;           ///< windows of other clients have moved or been mapped
    bool wayland = false;                       ///< the server is XWayland
    Redirection redirection;
    std::vector<AppWindow*> windows;
    std::vector<GlobalKey> globalKeys;
    Keyboard keyboard;
    InputState input;
    MessageLoop loop;
    std::unique_ptr<CommandServer> commands;  ///< while this process is the one copy
    /// For windows that are not AppWindows: the tray icon and the menu. Each returns true if it has handled the event.
    std::vector<bool (*)(Session&, const xcb_generic_event_t&)> listeners;
};

Session& CurrentSession();

/// Returns null if the window is not one of ours.
AppWindow* WindowOf(Session& session, xcb_window_t id);

xcb_atom_t InternAtom(xcb_connection_t* connection, const std::string& name);

/// Empty if the window has no such property of 8-bit units.
std::string ReadTextProperty(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property);

/// The first 32-bit value of a property.
std::optional<std::uint32_t> ReadNumberProperty(Session& session, xcb_window_t window, xcb_atom_t property);

/// The 32-bit values of a property of that type. Empty if the window has no such property.
std::vector<std::uint32_t> ReadNumbersProperty(Session& session, xcb_window_t window, xcb_atom_t property,
                                               xcb_atom_t type);

/// XCB_WINDOW_NONE if the selection has no owner; nullopt if the server does not reply.
std::optional<xcb_window_t> SelectionOwner(const Session& session, xcb_atom_t selection);

/// Sends a client message with one value to `target`. `subject` is the window that the message is about.
void SendClientMessage(xcb_window_t target, xcb_window_t subject, xcb_atom_t type, std::uint32_t eventMask,
                       std::uint32_t firstDatum);

/// Waits until the server has executed all requests so far. Returns false if it does not reply.
bool Synchronize(Session& session);

}  // namespace zv::x11
