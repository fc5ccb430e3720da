// The machine's adapters, monitors and outputs, as a test sets them.
#pragma once

#include "platform/Monitors.h"

namespace zv::fake {

struct WorkArea {
    Rectangle monitor;
    Rectangle work;
};

struct MonitorsControls {
    std::vector<AdapterRecord> adapters;
    bool adaptersFail = false;
    std::vector<MonitorEntry> monitors;
    std::vector<OutputRecord> outputs;  ///< of adapter 0
    bool outputsFail = false;
    /// The first one is that of the primary monitor.
    std::vector<WorkArea> workAreas = {{{0, 0, 1920, 1080}, {0, 0, 1920, 1040}}};
};

MonitorsControls& TheMonitors();

}  // namespace zv::fake
