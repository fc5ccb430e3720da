// A menu at the pointer. Interface thread only.
#pragma once

#include <span>

#include "core/Text.h"
#include "platform/Window.h"

namespace zv {

struct MenuItem {
    int id = 0;  ///< 0: a separator
    Text label;
};

/// Opens the menu at the pointer and returns the id of the chosen item, or 0 if none was chosen. Dispatches messages
/// while the menu is open. Brings `owner` to the foreground first, so that a click elsewhere closes the menu, and posts
/// message::null to it at the end. Returns 0 at once while another menu is open.
int ChooseFromMenu(AppWindow& owner, std::span<const MenuItem> items);

}  // namespace zv
