// The icon in the notification area.
#pragma once

#include <xcb/xcb.h>

namespace zv::x11 {

struct Session;

/// Sends TaskbarCreatedMessage to every window.
void QueueTaskbarCreated(Session& session);

/// Handles a press that an open menu received. Returns true if it was the second one of a double click on the icon;
/// then the menu has been closed.
bool HandleSecondTrayClick(Session& session, const xcb_button_press_event_t& press);

}  // namespace zv::x11
