// What cairo is asked for beyond the common promises: pictures that get smaller are averaged.
#include <gtest/gtest.h>

#include <vector>

#include "platform/Canvas.h"

namespace zv {
namespace {

TEST(LinuxCanvas, AveragesAPictureThatGetsSmaller) {
    std::vector<std::uint32_t> pixels(400 * 400);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        pixels[i] = (i % 400 + i / 400) % 2 == 0 ? 0xFFFFFFU : 0U;
    }
    const auto canvas = MakeCanvas(70, 70);
    DrawPixels(*canvas, {10, 10, 60, 60}, {pixels.data(), 400, 400});
    const PixelView view = PixelsOf(*canvas);
    for (const int at : {35 * 70 + 35, 20 * 70 + 50, 58 * 70 + 11}) {
        EXPECT_NEAR(view.pixels[at] & 0xFFU, 128, 20);
    }
}

}  // namespace
}  // namespace zv
