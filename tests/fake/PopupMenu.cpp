#include "fake/PopupMenu.h"

namespace zv {

using fake::TheMenus;

int ChooseFromMenu(AppWindow& owner, std::span<const MenuItem> items) {
    const fake::Call call("ChooseFromMenu");
    TheMenus().shown.emplace_back(items.begin(), items.end());
    TheMenus().owner = &owner;
    return call.Fails() ? 0 : TheMenus().choice;
}

namespace fake {

MenuControls& TheMenus() {
    static MenuControls controls;
    return controls;
}

void ResetMenus() { TheMenus() = {}; }

}  // namespace fake
}  // namespace zv
