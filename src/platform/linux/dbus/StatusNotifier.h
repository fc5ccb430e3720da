// The program's icon in a notification area that is reached over D-Bus: the StatusNotifierItem protocol, with a menu of
// com.canonical.dbusmenu.
//
// A watcher on the session bus passes the item to the notification area, its host. Interface thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace zv::dbus {

struct NotifierMenuItem {
    int id = 0;  ///< 0: a separator
    std::string label;
};

/// Callbacks are called inside DispatchBus.
struct NotifierOptions {
    std::string title;
    int iconSize = 0;
    std::vector<std::uint32_t> iconPixels;  ///< 0xAARRGGBB, `iconSize` squared
    std::function<void()> activate;         ///< a click on the icon
    std::function<void()> openMenu;         ///< requests the program's own menu
    std::function<std::vector<NotifierMenuItem>()> items;
    std::function<void(int id)> choose;  ///< an item of the menu that the host shows
};

/// An item that a host shows. Only one may exist at a time.
class StatusNotifier {
public:
    StatusNotifier() = default;
    ~StatusNotifier();
    StatusNotifier(const StatusNotifier&) = delete;
    StatusNotifier& operator=(const StatusNotifier&) = delete;

    /// Returns false if there is no watcher or it has no host.
    bool Show(NotifierOptions options);

private:
    NotifierOptions options_;
    unsigned item_ = 0;  ///< the exported objects; 0: none
    unsigned menu_ = 0;
};

/// Calls `changed` inside DispatchBus when a watcher or its host comes or goes. Called once.
void WatchNotifierHosts(std::function<void()> changed);

}  // namespace zv::dbus
