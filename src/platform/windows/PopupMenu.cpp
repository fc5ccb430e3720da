// The system's own menu.
#include "platform/PopupMenu.h"

#include "platform/windows/WindowHandle.h"

namespace zv {
namespace {

void Fill(HMENU menu, std::span<const MenuItem> items) {
    for (const MenuItem& item : items) {
        if (item.id == 0) {
            AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
        } else {
            AppendMenuW(menu, item.checked ? MF_STRING | MF_CHECKED : MF_STRING, static_cast<UINT_PTR>(item.id),
                        Native(item.label));
        }
    }
}

}  // namespace

int ChooseFromMenu(AppWindow& owner, std::span<const MenuItem> items) {
    POINT at{};
    GetCursorPos(&at);
    const HMENU menu = CreatePopupMenu();
    if (menu == nullptr) {
        return 0;
    }
    Fill(menu, items);
    // Otherwise a click elsewhere would not close the menu. Without the message after the menu, the next menu would
    // close at once.
    SetForegroundWindow(owner.handle);
    const int chosen = TrackPopupMenu(menu, TPM_RETURNCMD | TPM_RIGHTBUTTON, at.x, at.y, 0, owner.handle, nullptr);
    DestroyMenu(menu);
    PostMessageW(owner.handle, message::null, 0, 0);
    return chosen;
}

}  // namespace zv
