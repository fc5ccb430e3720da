#include "fake/TrayIcon.h"

namespace zv {

using fake::TheTray;

struct TrayIcon {};

template <>
void Closer<TrayIcon>::operator()(TrayIcon* icon) const noexcept {
    const fake::Call call("RemoveTrayIcon");
    TheTray().icon.reset();
    delete icon;
}

Owned<TrayIcon> AddTrayIcon(const TrayIconOptions& options) {
    const fake::Call call("AddTrayIcon");
    if (call.Fails()) {
        return nullptr;
    }
    ++TheTray().additions;
    TheTray().icon = options;
    return Owned<TrayIcon>(new TrayIcon);
}

std::uint32_t TaskbarCreatedMessage() { return fake::taskbarCreated; }

namespace fake {

TrayControls& TheTray() {
    static TrayControls controls;
    return controls;
}

void ResetTray() { TheTray() = {}; }

}  // namespace fake
}  // namespace zv
