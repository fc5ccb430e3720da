#include "stand_in/Monitors.h"

#include "stand_in/Calls.h"

namespace zv {

bool ListAdapterRecords(std::vector<AdapterRecord>& adapters) {
    const stand_in::Call call("ListAdapterRecords");
    const stand_in::MonitorsControls& controls = stand_in::TheMonitors();
    adapters = controls.adapters;
    return !controls.adaptersFail;
}

std::vector<MonitorRecord> ListMonitorRecords() {
    const stand_in::Call call("ListMonitorRecords");
    return stand_in::TheMonitors().monitors;
}

bool ListFirstAdapterOutputs(std::vector<OutputRecord>& outputs) {
    const stand_in::MonitorsControls& controls = stand_in::TheMonitors();
    outputs = controls.outputs;
    return !controls.outputsFail;
}

namespace stand_in {

MonitorsControls& TheMonitors() {
    static MonitorsControls controls;
    return controls;
}

}  // namespace stand_in
}  // namespace zv
