// A menu at the pointer.
#pragma once

#include <span>

#include "core/Text.h"
#include "platform/Window.h"

namespace zv {

struct MenuItem {
    int id = 0;  ///< 0: a separator
    Text label;
};

/// Opens the menu at the pointer and answers the id of the item that the user chose, 0 when he chose none. Messages go
/// on being dispatched in the meantime. Brings `owner` to the foreground first, so that a click elsewhere ends the
/// menu, and posts it message::null in the end. A second call while a menu is open answers 0 at once.
int ChooseFromMenu(AppWindow& owner, std::span<const MenuItem> items);

}  // namespace zv
