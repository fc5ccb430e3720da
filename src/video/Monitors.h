// The monitors of the desktop as the user chooses among them. Every call asks the system anew. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "core/Text.h"

namespace zv {

struct MonitorEntry {
    Text deviceName;
    std::int32_t left = 0;  ///< desktop coordinates
    std::int32_t top = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t outputIndex = -1;  ///< output of the first adapter, -1 without one there; informative only
    bool primary = false;
    bool operator==(const MonitorEntry&) const = default;
};

/// In the system's own order.
std::vector<MonitorEntry> ListMonitors();

/// The monitor of that name, the primary one for an empty name, or nothing.
std::optional<MonitorEntry> ResolveMonitor(TextView deviceName);

}  // namespace zv
