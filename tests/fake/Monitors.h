// The machine's adapters, monitors and outputs, as a test sets them.
#pragma once

#include "platform/Monitors.h"

namespace zv::fake {

struct MonitorsControls {
    std::vector<AdapterRecord> adapters;
    bool adaptersFail = false;
    std::vector<MonitorRecord> monitors;
    std::vector<OutputRecord> outputs;  ///< of adapter 0
    bool outputsFail = false;
};

MonitorsControls& TheMonitors();

}  // namespace zv::fake
