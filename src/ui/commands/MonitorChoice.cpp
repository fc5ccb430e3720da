#include "ui/commands/MonitorChoice.h"

#include <vector>

#include "core/Settings.h"
#include "platform/PopupMenu.h"
#include "ui/commands/Commands.h"
#include "ui/state/UiGlobals.h"
#include "video/Monitors.h"

namespace zv {
namespace {

constexpr int firstId = 100;

bool IsCaptured(const MonitorEntry& monitor) {
    const Text& device = CurrentSettings().monitorDevice;
    return device.empty() ? monitor.primary : monitor.deviceName == device;
}

std::vector<MenuItem> MonitorItems(const std::vector<MonitorEntry>& monitors) {
    std::vector<MenuItem> items;
    for (const MonitorEntry& monitor : monitors) {
        Text label = monitor.deviceName + u"  " + Decimal(monitor.width) + u" x " + Decimal(monitor.height);
        label += monitor.primary ? u"  Primary" : u"";
        items.push_back({firstId + static_cast<int>(items.size()), label, IsCaptured(monitor)});
    }
    return items;
}

}  // namespace

void ChooseMonitor() {
    if (!MayChooseMonitor() || Ui().mainWindow == nullptr) {
        return;
    }
    const std::vector<MonitorEntry> monitors = ListMonitors();
    const int index = ChooseFromMenu(*Ui().mainWindow, MonitorItems(monitors)) - firstId;
    if (index < 0 || index >= static_cast<int>(monitors.size())) {
        return;
    }
    ApplyCaptureChange([&device = monitors[static_cast<std::size_t>(index)].deviceName] {
        CurrentSettings().monitorDevice = device;
        Ui().monitorLabel.clear();
    });
}

}  // namespace zv
