// What the system knows about the pointer, the keyboard, the monitors and other programs' windows.
#include "platform/windows/WindowHandle.h"

namespace zv {
namespace {

Rectangle FromNative(const RECT& rectangle) {
    return {rectangle.left, rectangle.top, rectangle.right, rectangle.bottom};
}

MonitorArea AreaOf(HMONITOR monitor) {
    MONITORINFOEXW info{};
    info.cbSize = sizeof(info);
    if (GetMonitorInfoW(monitor, reinterpret_cast<MONITORINFO*>(&info)) == FALSE) {
        return {};
    }
    return {FromNative(info.rcMonitor), FromNative(info.rcWork), TextOf(info.szDevice)};
}

}  // namespace

Point CursorPosition() {
    POINT at{};
    GetCursorPos(&at);
    return {at.x, at.y};
}

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

MonitorArea MonitorAt(Point point) { return AreaOf(MonitorFromPoint({point.x, point.y}, MONITOR_DEFAULTTOPRIMARY)); }

std::optional<FrontWindow> LookUpFrontWindow() {
    const HWND handle = GetForegroundWindow();
    if (handle == nullptr) {
        return std::nullopt;
    }
    FrontWindow front;
    DWORD processId = 0;
    GetWindowThreadProcessId(handle, &processId);
    front.processId = processId;
    front.ours = processId == GetCurrentProcessId();
    RECT bounds{};
    GetWindowRect(handle, &bounds);
    front.bounds = FromNative(bounds);
    wchar_t name[257] = {};
    GetClassNameW(handle, name, 257);
    front.className = TextOf(name);
    const UINT dpi = GetDpiForWindow(handle);
    front.dpi = dpi != 0 ? static_cast<int>(dpi) : USER_DEFAULT_SCREEN_DPI;
    front.monitor = AreaOf(MonitorFromWindow(handle, MONITOR_DEFAULTTOPRIMARY));
    return front;
}

}  // namespace zv
