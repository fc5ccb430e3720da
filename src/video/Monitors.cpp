#include "video/Monitors.h"

#include <algorithm>

#include "platform/Monitors.h"

namespace zv {
namespace {

constexpr std::uint32_t rotationIdentity = 1;

MonitorEntry EntryOf(const MonitorRecord& record) {
    MonitorEntry entry;
    entry.deviceName = record.deviceName;
    entry.left = record.left;
    entry.top = record.top;
    entry.width = record.right - record.left;
    entry.height = record.bottom - record.top;
    entry.primary = record.primary;
    return entry;
}

}  // namespace

std::vector<MonitorEntry> ListMonitors() {
    std::vector<MonitorEntry> entries;
    for (const MonitorRecord& record : ListMonitorRecords()) {
        entries.push_back(EntryOf(record));
    }
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
