#include "video/Monitors.h"

#include <algorithm>

namespace zv {
namespace {

constexpr std::uint32_t rotationIdentity = 1;

}  // namespace

std::vector<MonitorEntry> ListMonitors() {
    std::vector<MonitorEntry> entries = EnumerateMonitors();
    std::vector<OutputRecord> outputs;
    if (!ListFirstAdapterOutputs(outputs)) {
        return entries;
    }
    for (std::size_t index = 0; index < outputs.size(); ++index) {
        const OutputRecord& output = outputs[index];
        if (!output.described || !output.attached || output.rotation != rotationIdentity) {
            continue;
        }
        for (MonitorEntry& entry : entries) {
            if (entry.deviceName == output.deviceName) {
                entry.outputIndex = static_cast<std::int32_t>(index);
            }
        }
    }
    return entries;
}

std::optional<MonitorEntry> ResolveMonitor(TextView deviceName) {
    const std::vector<MonitorEntry> entries = ListMonitors();
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const MonitorEntry& entry) {
        return deviceName.empty() ? entry.primary : entry.deviceName == deviceName;
    });
    return found == entries.end() ? std::nullopt : std::optional(*found);
}

}  // namespace zv
