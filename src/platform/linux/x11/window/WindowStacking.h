// The stacking order of the windows, and the keyboard focus where no window manager assigns it.
//
// Window managers do not restack bare windows. If another client covers a topmost one, it is raised again, at most a
// few times a second. They stay below screen lockers.
#pragma once

#include <xcb/xcb.h>

#include <optional>

#include "platform/Rectangle.h"
#include "platform/Window.h"

namespace zv::x11 {

struct Session;

/// Selects the root's events about all windows while one of our topmost windows is shown.
void SelectStackingEvents(Session& session);

/// Raises the window above all others except lockers, and then the windows that it owns.
void Raise(Session& session, AppWindow& window);

/// The monitor of `bounds` if another program's window fills it and no further one is above that. Waits for the server.
std::optional<Rectangle> FullScreenMonitor(Session& session, const Rectangle& bounds);

/// Raises the topmost windows that others have covered since the last call.
void RestoreStacking(Session& session);

void RaiseAndActivate(Session& session, AppWindow& window);

/// Returns the focus to the window that had it before, if `window` still has it.
void RestoreFocus(Session& session, AppWindow& window);

}  // namespace zv::x11
