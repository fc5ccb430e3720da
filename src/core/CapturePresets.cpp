#include "core/CapturePresets.h"

namespace zv {
namespace {

struct PresetRow {
    TextView name;
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t fps;
    std::uint32_t bitrateMbps;
    bool baseline;
};

constexpr PresetRow presetRows[] = {
    {u"1080p 30 FPS", 1920, 1080, 30, 15, true},
    {u"1080p 60 FPS", 1920, 1080, 60, 25, true},
    {u"1080p 120 FPS", 1920, 1080, 120, 40, true},
    {u"1440p 60 FPS", 2560, 1440, 60, 40, false},
    {u"4K 30 FPS (speed checked)", 3840, 2160, 30, 50, false},
    {u"4K 60 FPS (speed checked)", 3840, 2160, 60, 80, false},
    {u"1080p 240 FPS (experimental)", 1920, 1080, 240, 60, false},
    {u"4K 240 FPS (experimental)", 3840, 2160, 240, 120, false},
};

}  // namespace

std::vector<CapturePreset> BuildCapturePresets() {
    std::vector<CapturePreset> presets;
    for (const PresetRow& row : presetRows) {
        CapturePreset preset;
        preset.name = row.name;
        preset.width = row.width;
        preset.height = row.height;
        preset.fps = row.fps;
        preset.bitrateMbps = row.bitrateMbps;
        preset.baseline = row.baseline;
        presets.push_back(preset);
    }
    return presets;
}

}  // namespace zv
