// The graphics adapters and the encoders that they support.
//
// Detected once at start-up and only recorded: no page shows the report and no decision depends on it. The capture
// always loads its one encoder library and reports a failure itself.
#pragma once

#include <cstdint>
#include <vector>

#include "core/Text.h"

namespace zv {

struct AdapterInfo {
    Text name;
    std::uint32_t vendorId = 0;
    std::uint64_t dedicatedVideoMemory = 0;  ///< bytes
    bool isNvidia = false;
    bool isAmd = false;
    bool isIntel = false;
    bool operator==(const AdapterInfo&) const = default;
};

struct EncoderChoice {
    Text name;
    bool hardware = false;
    bool available = false;
    bool operator==(const EncoderChoice&) const = default;
};

struct CapabilityReport {
    std::vector<AdapterInfo> adapters;
    std::vector<EncoderChoice> encoders;
    std::uint32_t replaySeconds = 0;  ///< the default replay length, until the settings are loaded
    bool detected = false;
};

/// The one record of the process. Interface thread.
CapabilityReport& CurrentCapabilities();

/// Always succeeds, even without any adapter.
void DetectCapabilities(CapabilityReport& report);

}  // namespace zv
