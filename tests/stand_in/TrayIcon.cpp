#include "stand_in/TrayIcon.h"

namespace zv {

using stand_in::TheTray;

struct TrayIcon {};

template <>
void Closer<TrayIcon>::operator()(TrayIcon* icon) const noexcept {
    const stand_in::Call call("RemoveTrayIcon");
    TheTray().icon.reset();
    delete icon;
}

Owned<TrayIcon> AddTrayIcon(const TrayIconOptions& options) {
    const stand_in::Call call("AddTrayIcon");
    if (call.Fails()) {
        return nullptr;
    }
    ++TheTray().additions;
    TheTray().icon = options;
    return Owned<TrayIcon>(new TrayIcon);
}

std::uint32_t TaskbarCreatedMessage() { return stand_in::taskbarCreated; }

namespace stand_in {

TrayControls& TheTray() {
    static TrayControls controls;
    return controls;
}

void ResetTray() { TheTray() = {}; }

}  // namespace stand_in
}  // namespace zv
