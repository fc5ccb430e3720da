// The window in front, its process, and that process's image.
#include "platform/FrontWindow.h"

#include <string>

#include "platform/windows/MonitorHandle.h"

namespace zv {
namespace {

Text ImagePath(DWORD processId) {
    const Handle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    if (!process) {
        return {};
    }
    std::wstring path(32768, L'\0');
    auto length = static_cast<DWORD>(path.size());
    path.resize(QueryFullProcessImageNameW(process.Get(), 0, path.data(), &length) ? length : 0);
    return TextOf(path);
}

FrontKind KindOf(const FrontWindow& front) {
    if (front.processId == GetCurrentProcessId()) {
        return FrontKind::Own;
    }
    return front.imagePath.empty() ? FrontKind::Unknown : FrontKind::Known;
}

}  // namespace

FrontWindow LookUpFrontWindow() {
    const HWND window = GetForegroundWindow();
    DWORD processId = 0;
    if (window == nullptr || GetWindowThreadProcessId(window, &processId) == 0 || processId == 0) {
        return {};
    }
    FrontWindow front;
    front.processId = processId;
    if (processId != GetCurrentProcessId()) {
        front.imagePath = ImagePath(processId);
    }
    front.kind = KindOf(front);
    wchar_t className[257] = {};
    GetClassNameW(window, className, 257);
    front.className = TextOf(className);
    RECT bounds{};
    GetWindowRect(window, &bounds);
    front.bounds = RectangleOf(bounds);
    const UINT dpi = GetDpiForWindow(window);
    front.dpi = dpi != 0 ? static_cast<int>(dpi) : USER_DEFAULT_SCREEN_DPI;
    front.monitor = EntryOf(MonitorFromWindow(window, MONITOR_DEFAULTTOPRIMARY)).value_or(MonitorEntry{});
    return front;
}

}  // namespace zv
