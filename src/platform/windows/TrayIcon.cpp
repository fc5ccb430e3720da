// The icon in the shell's notification area.
#include "platform/TrayIcon.h"

#include <algorithm>
#include <cwchar>
#include <new>

#include "platform/windows/WindowHandle.h"

namespace zv {

struct TrayIcon {
    NOTIFYICONDATAW data;
};

static_assert(trayEvent::contextMenu == WM_CONTEXTMENU && trayEvent::select == NIN_SELECT &&
              trayEvent::keySelect == NIN_KEYSELECT);

namespace {

NOTIFYICONDATAW DataOf(const TrayIconOptions& options) {
    NOTIFYICONDATAW data{};
    data.cbSize = sizeof(data);
    data.hWnd = options.window->handle;
    data.uID = 1;
    data.uFlags = NIF_MESSAGE | NIF_ICON | NIF_TIP;
    data.uCallbackMessage = options.message;
    data.hIcon = options.icon != nullptr ? options.icon->handle : LoadIconW(nullptr, IDI_APPLICATION);
    const std::size_t length = std::min(options.tip.size(), std::size(data.szTip) - 1);
    std::copy_n(Native(options.tip), length, data.szTip);
    return data;
}

}  // namespace

template <>
void Closer<TrayIcon>::operator()(TrayIcon* icon) const noexcept {
    if (icon != nullptr) {
        Shell_NotifyIconW(NIM_DELETE, &icon->data);
    }
    delete icon;
}

Owned<TrayIcon> AddTrayIcon(const TrayIconOptions& options) {
    NOTIFYICONDATAW data = DataOf(options);
    if (Shell_NotifyIconW(NIM_ADD, &data) == FALSE) {
        return nullptr;
    }
    data.uVersion = NOTIFYICON_VERSION_4;
    Shell_NotifyIconW(NIM_SETVERSION, &data);
    Owned<TrayIcon> icon(new (std::nothrow) TrayIcon{data});
    if (!icon) {
        Shell_NotifyIconW(NIM_DELETE, &data);
    }
    return icon;
}

std::uint32_t TaskbarCreatedMessage() {
    static const UINT code = RegisterWindowMessageW(L"TaskbarCreated");
    return code;
}

}  // namespace zv
