// A menu at the pointer. Interface thread only.
#pragma once

#include <span>

#include "core/Text.h"
#include "platform/Window.h"

namespace zv {

struct MenuItem {
    int id = 0;  ///< 0: a separator
    Text label;
    bool checked = false;
};

/// Opens the menu at the pointer. Returns the id of the chosen item, or 0 if the user chose none. Dispatches messages
/// while the menu is open. First brings `owner` to the foreground, so that a click elsewhere closes the menu; at the
/// end posts message::null to it. Returns 0 at once if another menu is open.
int ChooseFromMenu(AppWindow& owner, std::span<const MenuItem> items);

}  // namespace zv
