#include "platform/FrontWindow.h"

#include "platform/windows/MonitorHandle.h"

namespace zv {

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
    front.bounds = RectangleOf(bounds);
    wchar_t name[257] = {};
    GetClassNameW(handle, name, 257);
    front.className = TextOf(name);
    const UINT dpi = GetDpiForWindow(handle);
    front.dpi = dpi != 0 ? static_cast<int>(dpi) : USER_DEFAULT_SCREEN_DPI;
    front.monitor = EntryOf(MonitorFromWindow(handle, MONITOR_DEFAULTTOPRIMARY)).value_or(MonitorEntry{});
    return front;
}

}  // namespace zv
