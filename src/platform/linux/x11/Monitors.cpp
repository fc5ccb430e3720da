// The monitors of the X screen. All of them count as outputs of the first adapter, because an X screen is one desktop
// image even if its monitors are connected to several adapters.
#include "platform/Monitors.h"

#include "platform/linux/posix/Adapters.h"
#include "platform/linux/x11/RandrMonitors.h"
#include "platform/linux/x11/XDisplay.h"

namespace zv {
namespace {

std::vector<x11::ScreenMonitor> MonitorsOf(const XDisplay& display) {
    return x11::QueryMonitors(display.connection, display.root);
}

}  // namespace

bool ListAdapterRecords(std::vector<AdapterRecord>& adapters) { return ReadAdapters("/sys/class/drm", adapters); }

std::vector<MonitorEntry> EnumerateMonitors() {
    std::vector<MonitorEntry> monitors;
    if (const std::optional<XDisplay> display = ThreadDisplay()) {
        for (const x11::ScreenMonitor& monitor : MonitorsOf(*display)) {
            if (monitor.output.described) {
                monitors.push_back(x11::EntryOf(monitor));
            }
        }
    }
    return monitors;
}

bool ListFirstAdapterOutputs(std::vector<OutputRecord>& outputs) {
    outputs.clear();
    const std::optional<XDisplay> display = ThreadDisplay();
    if (!display) {
        return false;
    }
    for (x11::ScreenMonitor& monitor : MonitorsOf(*display)) {
        outputs.push_back(std::move(monitor.output));
    }
    return true;
}

}  // namespace zv
