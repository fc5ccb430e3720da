// The program's icon in the notification area.
//
// On Linux the area belongs to another program, which the freedesktop system tray protocol talks to. Interface thread
// only.
#pragma once

#include <cstdint>

#include "core/Text.h"
#include "platform/AppIcon.h"
#include "platform/Owned.h"
#include "platform/Window.h"

namespace zv {

struct TrayIcon;
/// Removes the icon.
template <>
void Closer<TrayIcon>::operator()(TrayIcon* icon) const noexcept;

struct TrayIconOptions {
    AppWindow* window = nullptr;    ///< receives `message`
    std::uint32_t message = 0;      ///< the low word of its lParam is a mouse message or one of trayEvent
    const AppIcon* icon = nullptr;  ///< null: the system's picture of a program
    Text tip;                       ///< at most 127 units of it are shown
};

namespace trayEvent {
inline constexpr std::uint32_t contextMenu = 0x007B;
inline constexpr std::uint32_t select = 0x0400;
inline constexpr std::uint32_t keySelect = 0x0401;
}  // namespace trayEvent

/// Null if there is no notification area or it refuses. There is one icon at a time: release the earlier one first.
Owned<TrayIcon> AddTrayIcon(const TrayIconOptions& options);

/// The message that every window receives when a notification area has started: icons have to be added again.
std::uint32_t TaskbarCreatedMessage();

}  // namespace zv
