#include "video/Capabilities.h"

#include <algorithm>

#include "platform/Monitors.h"

namespace zv {
namespace {

constexpr std::uint32_t startReplaySeconds = 60;

CapabilityReport currentCapabilities;

AdapterInfo InfoOf(const AdapterRecord& record) {
    AdapterInfo info;
    info.name = record.description;
    info.vendorId = record.vendorId;
    info.dedicatedVideoMemory = record.dedicatedVideoMemory;
    info.isNvidia = record.vendorId == 0x10DE;
    info.isAmd = record.vendorId == 0x1002 || record.vendorId == 0x1022;
    info.isIntel = record.vendorId == 0x8086;
    return info;
}

std::vector<AdapterInfo> ListHardwareAdapters() {
    std::vector<AdapterRecord> records;
    std::vector<AdapterInfo> adapters;
    if (!ListAdapterRecords(records)) {
        return adapters;
    }
    for (const AdapterRecord& record : records) {
        if (record.described && !record.software) {
            adapters.push_back(InfoOf(record));
        }
    }
    return adapters;
}

bool Any(const std::vector<AdapterInfo>& adapters, bool AdapterInfo::*vendor) {
    return std::any_of(adapters.begin(), adapters.end(), [&](const AdapterInfo& info) { return info.*vendor; });
}

}  // namespace

CapabilityReport& CurrentCapabilities() { return currentCapabilities; }

void DetectCapabilities(CapabilityReport& report) {
    report.adapters = ListHardwareAdapters();
    report.encoders = {
        {u"NVIDIA NVENC", true, Any(report.adapters, &AdapterInfo::isNvidia)},
        {u"AMD AMF", true, Any(report.adapters, &AdapterInfo::isAmd)},
        {u"Intel Quick Sync", true, Any(report.adapters, &AdapterInfo::isIntel)},
        {u"Software fallback", false, true},
    };
    report.replaySeconds = startReplaySeconds;
    report.detected = true;
}

}  // namespace zv
