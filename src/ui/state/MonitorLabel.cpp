#include "ui/state/MonitorLabel.h"

#include "core/Settings.h"
#include "ui/state/UiGlobals.h"
#include "video/Monitors.h"

namespace zv {
namespace {

Text LabelOf(const MonitorEntry& monitor) {
    const Text& name = monitor.deviceName;
    Text label = name.substr(name.rfind(u'\\') + 1);
    label += u"  /  " + Decimal(monitor.width) + u" x " + Decimal(monitor.height);
    return monitor.primary ? label + u"  (primary)" : label;
}

}  // namespace

Text MonitorLabel() {
    Text& known = Ui().monitorLabel;
    if (known.empty()) {
        const std::optional<MonitorEntry> monitor = ResolveMonitor(CurrentSettings().monitorDevice);
        if (!monitor) {
            return u"Monitor disconnected";
        }
        known = LabelOf(*monitor);
    }
    return known;
}

}  // namespace zv
