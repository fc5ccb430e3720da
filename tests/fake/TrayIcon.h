// A notification area that records its icon.
#pragma once

#include <optional>

#include "fake/Calls.h"
#include "platform/TrayIcon.h"

namespace zv::fake {

inline constexpr std::uint32_t taskbarCreated = 0xC123;

struct TrayControls {
    std::optional<TrayIconOptions> icon;  ///< the icon that is currently shown
    int additions = 0;
};

TrayControls& TheTray();
void ResetTray();

}  // namespace zv::fake
