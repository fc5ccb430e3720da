// Visibility, position, size and DPI of the windows, and their exclusion from captures.
#pragma once

#include <xcb/xcb.h>

#include "platform/Window.h"

namespace zv::x11 {

struct Session;

/// Converts an event to messages. Returns true if it was an event of size, position, visibility or stacking.
bool HandleGeometryEvent(Session& session, const xcb_generic_event_t& event);

/// Reads the session's DPI. Queues message::dpiChanged for all windows if it has changed.
void UpdateDpi(Session& session);

/// Shows a new window, but leaves the mapping to the message loop. A window that is hidden before that is never mapped:
/// window managers lose requests about a window that is mapped, withdrawn and mapped again at once.
void ShowNewWindow(Session& session, AppWindow& window);
void MapNewWindows(Session& session);

/// Releases mouse, focus and exclusion of a window that is about to be destroyed.
void ReleaseWindowState(Session& session, AppWindow& window);

}  // namespace zv::x11
