// A menu whose choice the test sets before it opens.
#pragma once

#include <vector>

#include "fake/Calls.h"
#include "platform/PopupMenu.h"

namespace zv::fake {

struct MenuControls {
    int choice = 0;                            ///< the id of the item to choose; 0: none
    std::vector<std::vector<MenuItem>> shown;  ///< the items of all menus so far
    AppWindow* owner = nullptr;                ///< of the last one
};

MenuControls& TheMenus();
void ResetMenus();

}  // namespace zv::fake
