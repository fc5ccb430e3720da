// A menu whose choice the test makes beforehand.
#pragma once

#include <vector>

#include "fake/Calls.h"
#include "platform/PopupMenu.h"

namespace zv::fake {

struct MenuControls {
    int choice = 0;                            ///< what the user will choose; 0: nothing
    std::vector<std::vector<MenuItem>> shown;  ///< the items of every menu so far
    AppWindow* owner = nullptr;                ///< of the last one
};

MenuControls& TheMenus();
void ResetMenus();

}  // namespace zv::fake
