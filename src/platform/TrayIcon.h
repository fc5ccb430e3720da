// The program's icon in the notification area.
//
// On Linux another program owns the area; the icon uses the StatusNotifierItem protocol of D-Bus or the freedesktop
// system tray protocol. Interface thread only.
#pragma once

#include <cstdint>
#include <vector>

#include "core/Text.h"
#include "platform/AppIcon.h"
#include "platform/Owned.h"
#include "platform/PopupMenu.h"
#include "platform/Window.h"

namespace zv {

struct TrayIcon;
/// Removes the icon.
template <>
void Closer<TrayIcon>::operator()(TrayIcon* icon) const noexcept;

struct TrayIconOptions {
    AppWindow* window = nullptr;    ///< receives `message`
    std::uint32_t message = 0;      ///< the low word of its lParam is a mouse message or a trayEvent
    const AppIcon* icon = nullptr;  ///< null: the system's default program icon
    Text tip;                       ///< only its first 127 units are shown
    /// The items of the icon's menu, for notification areas of Linux that show it themselves. The choice is sent as
    /// trayEvent::chosen with the item's id in wParam.
    std::vector<MenuItem> (*menu)() = nullptr;
};

namespace trayEvent {
inline constexpr std::uint32_t contextMenu = 0x007B;
inline constexpr std::uint32_t select = 0x0400;
inline constexpr std::uint32_t keySelect = 0x0401;
inline constexpr std::uint32_t chosen = 0x0500;
}  // namespace trayEvent

/// Returns null if there is no notification area or the area refuses the icon. Only one icon may exist: release the
/// previous one first.
Owned<TrayIcon> AddTrayIcon(const TrayIconOptions& options);

/// The message that every window receives when a notification area has started. The receiver adds its icon again. On
/// Linux also when the area with the icon has ended.
std::uint32_t TaskbarCreatedMessage();

}  // namespace zv
