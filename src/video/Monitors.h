// The monitors that the user can choose to capture. Every call queries the system. Any thread.
#pragma once

#include <optional>
#include <vector>

#include "core/Text.h"
#include "platform/Monitors.h"

namespace zv {

/// In the system's own order, with the outputs of the first adapter.
std::vector<MonitorEntry> ListMonitors();

/// The monitor of that name, the primary one for an empty name, or nothing.
std::optional<MonitorEntry> ResolveMonitor(TextView deviceName);

}  // namespace zv
