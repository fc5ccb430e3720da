// The window in front, its process, and that process's image.
#include "platform/Foreground.h"

#include <string>

#include "platform/windows/Native.h"

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

}  // namespace

ForegroundProcess LookUpForeground() {
    const HWND window = GetForegroundWindow();
    DWORD processId = 0;
    if (window == nullptr || GetWindowThreadProcessId(window, &processId) == 0 || processId == 0) {
        return {};
    }
    if (processId == GetCurrentProcessId()) {
        return {ForegroundKind::Own, processId, {}};
    }
    Text path = ImagePath(processId);
    const ForegroundKind kind = path.empty() ? ForegroundKind::Unknown : ForegroundKind::Known;
    return {kind, processId, std::move(path)};
}

}  // namespace zv
