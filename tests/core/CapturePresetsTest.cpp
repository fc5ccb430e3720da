#include "core/CapturePresets.h"

#include <gmock/gmock.h>

#include "core/AppCore.h"

namespace zv {
namespace {

using testing::ElementsAre;

CapturePreset Preset(const char16_t* name, std::uint32_t width, std::uint32_t height, std::uint32_t fps,
                     std::uint32_t bitrateMbps, bool baseline) {
    return {name, width, height, fps, bitrateMbps, u"Auto", u"H264", true, false, u"", false, baseline};
}

TEST(CapturePresets, AreEightInTheirOrder) {
    EXPECT_THAT(BuildCapturePresets(), ElementsAre(Preset(u"1080p 30 FPS", 1920, 1080, 30, 15, true),
                                                   Preset(u"1080p 60 FPS", 1920, 1080, 60, 25, true),
                                                   Preset(u"1080p 120 FPS", 1920, 1080, 120, 40, true),
                                                   Preset(u"1440p 60 FPS", 2560, 1440, 60, 40, false),
                                                   Preset(u"4K 30 FPS (speed checked)", 3840, 2160, 30, 50, false),
                                                   Preset(u"4K 60 FPS (speed checked)", 3840, 2160, 60, 80, false),
                                                   Preset(u"1080p 240 FPS (experimental)", 1920, 1080, 240, 60, false),
                                                   Preset(u"4K 240 FPS (experimental)", 3840, 2160, 240, 120, false)));
}

TEST(CapturePresets, AreKeptFromTheStartOfTheProcess) { EXPECT_EQ(CurrentAppCore().presets, BuildCapturePresets()); }

}  // namespace
}  // namespace zv
