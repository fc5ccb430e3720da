#include "fake/Monitors.h"

#include "fake/Calls.h"

namespace zv {

bool ListAdapterRecords(std::vector<AdapterRecord>& adapters) {
    const fake::Call call("ListAdapterRecords");
    const fake::MonitorsControls& controls = fake::TheMonitors();
    adapters = controls.adapters;
    return !controls.adaptersFail;
}

std::vector<MonitorRecord> ListMonitorRecords() {
    const fake::Call call("ListMonitorRecords");
    return fake::TheMonitors().monitors;
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
