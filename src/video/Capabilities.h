// A survey of the graphics adapters and of the encoders that they could offer.
//
// Made once at start-up, as a plain record: no page shows it and no decision rests on it. The capture always uses
// the one encoder library and finds out by itself whether that works.
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
    std::uint32_t replaySeconds = 0;  ///< default of the replay length until the settings give theirs
    bool detected = false;
};

/// The one record of the process. Interface thread.
CapabilityReport& CurrentCapabilities();

/// Always succeeds, even without any adapter.
void DetectCapabilities(CapabilityReport& report);

}  // namespace zv
