#include "fake/Monitors.h"

#include <algorithm>

#include "fake/Calls.h"

namespace zv {

bool ListAdapterRecords(std::vector<AdapterRecord>& adapters) {
    const fake::Call call("ListAdapterRecords");
    const fake::MonitorsControls& controls = fake::TheMonitors();
    adapters = controls.adapters;
    return !controls.adaptersFail;
}

std::vector<MonitorEntry> EnumerateMonitors() {
    const fake::Call call("EnumerateMonitors");
    return fake::TheMonitors().monitors;
}

Rectangle WorkAreaAt(Point point) {
    const std::vector<fake::WorkArea>& areas = fake::TheMonitors().workAreas;
    const auto found = std::find_if(areas.begin(), areas.end(),
                                    [&](const fake::WorkArea& area) { return area.monitor.Contains(point); });
    if (found != areas.end()) {
        return found->work;
    }
    return areas.empty() ? Rectangle{} : areas.front().work;
}

bool ListFirstAdapterOutputs(std::vector<OutputRecord>& outputs) {
    const fake::MonitorsControls& controls = fake::TheMonitors();
    outputs = controls.outputs;
    return !controls.outputsFail;
}

namespace fake {

MonitorsControls& TheMonitors() {
    static MonitorsControls controls;
    return controls;
}

}  // namespace fake
}  // namespace zv
