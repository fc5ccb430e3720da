#include "platform/Keyboard.h"

#include "platform/windows/WindowHandle.h"

namespace zv {

std::uint32_t HeldModifiers() {
    const auto bit = [](int key, std::uint32_t modifier) { return GetKeyState(key) < 0 ? modifier : 0U; };
    return bit(VK_MENU, keyModifier::alt) | bit(VK_CONTROL, keyModifier::control) | bit(VK_SHIFT, keyModifier::shift);
}

Text KeyName(std::uint32_t virtualKey) {
    constexpr int scanCodeShift = 16;
    wchar_t name[64] = {};
    const UINT scanCode = MapVirtualKeyW(virtualKey, MAPVK_VK_TO_VSC);
    const int length = GetKeyNameTextW(static_cast<LONG>(scanCode << scanCodeShift), name, 64);
    return length > 0 ? TextOf(name) : Text();
}

bool RegisterGlobalKey(AppWindow& window, int id, std::uint32_t modifiers, std::uint32_t virtualKey) {
    return RegisterHotKey(window.handle, id, modifiers, virtualKey) != FALSE;
}

void UnregisterGlobalKey(AppWindow& window, int id) { UnregisterHotKey(window.handle, id); }

}  // namespace zv
