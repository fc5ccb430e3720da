#include "stand_in/PopupMenu.h"

namespace zv {

using stand_in::TheMenus;

int ChooseFromMenu(AppWindow& owner, std::span<const MenuItem> items) {
    const stand_in::Call call("ChooseFromMenu");
    TheMenus().shown.emplace_back(items.begin(), items.end());
    TheMenus().owner = &owner;
    return call.Fails() ? 0 : TheMenus().choice;
}

namespace stand_in {

MenuControls& TheMenus() {
    static MenuControls controls;
    return controls;
}

void ResetMenus() { TheMenus() = {}; }

}  // namespace stand_in
}  // namespace zv
