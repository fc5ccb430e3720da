// The presets: combinations of resolution, frame rate and bit rate.
#pragma once

#include <cstdint>
#include <vector>

#include "core/Text.h"

namespace zv {

struct CapturePreset {
    Text name;
    std::uint32_t width = 0;  ///< pixels
    std::uint32_t height = 0;
    std::uint32_t fps = 0;
    std::uint32_t bitrateMbps = 0;
    Text encoder = u"Auto";
    Text codec = u"H264";
    bool flagA = true;
    bool flagB = false;
    Text note;
    bool value = false;
    bool baseline = false;
    bool operator==(const CapturePreset&) const = default;
};

std::vector<CapturePreset> BuildCapturePresets();

}  // namespace zv
