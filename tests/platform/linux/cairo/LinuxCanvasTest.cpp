// Guarantees of the cairo canvas only: pictures that shrink are averaged, and letters of a typeface wider than the
// design's are narrowed before a text is cut.
#include <gtest/gtest.h>

#include <vector>

#include "platform/Canvas.h"

namespace zv {
namespace {

TEST(LinuxCanvas, AveragesAPictureThatShrinks) {
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

std::vector<std::uint32_t> Drawn(TextView text, const Rectangle& box, int height, TextLayout layout, double scale) {
    const auto canvas = MakeCanvas(1000, 200);
    const auto font = MakeFont(height, 400);
    PushTransform(*canvas, {}, scale);
    DrawTextInBox(*canvas, box, text, Rgb(255, 255, 255), *font, layout);
    PopTransform(*canvas);
    const PixelView view = PixelsOf(*canvas);
    return {view.pixels, view.pixels + view.width * view.height};
}

/// Returns true if the last letter is visible. If an ellipsis replaces it, replacing it by another letter, no wider
/// than "u", does not change the picture.
bool EndsInItsLastLetter(Text text, const Rectangle& box, int height, TextLayout layout, double scale = 1) {
    const auto before = Drawn(text, box, height, layout, scale);
    text.back() = u'u';
    return Drawn(text, box, height, layout, scale) != before;
}

constexpr TextLayout allLayouts[] = {TextLayout::Line, TextLayout::CentredLine, TextLayout::Wrapped};

TEST(LinuxCanvas, FitsTheLongestNotificationAtEverySize) {
    for (const double scale : {1.0, 1.25, 1.5, 1.75, 2.0, 3.0}) {
        EXPECT_TRUE(EndsInItsLastLetter(u"Stop recording before changing capture settings", {68, 8, 314, 68}, 15,
                                        TextLayout::Line, scale))
            << scale;
    }
}

TEST(LinuxCanvas, NarrowsATextThatIsALittleTooLongAndCutsALongerOne) {
    const Text text(30, u'n');  // one word: it cannot be wrapped
    int width = 1;
    while (!EndsInItsLastLetter(text, {0, 0, width, 17}, 17, TextLayout::CentredLine)) {
        ++width;
    }
    int natural = width;
    const auto whole = Drawn(text, {0, 0, 900, 17}, 17, TextLayout::Line, 1);
    while (Drawn(text, {0, 0, natural, 17}, 17, TextLayout::Line, 1) != whole) {
        ++natural;
    }
    EXPECT_GT(natural, 100);
    EXPECT_NEAR(width, natural * 0.92, 1);
    for (const TextLayout layout : allLayouts) {
        EXPECT_TRUE(EndsInItsLastLetter(text, {0, 0, width, 17}, 17, layout));
    }
}

TEST(LinuxCanvas, DoesNotNarrowATextThatFitsOrIsCut) {
    const Text text(30, u'n');
    const auto whole = Drawn(text, {0, 0, 900, 17}, 17, TextLayout::Line, 1);
    const auto cut = Drawn(text, {0, 0, 100, 17}, 17, TextLayout::Line, 1);
    for (int at = 0; at < 17 * 1000; ++at) {
        if (at % 1000 < 75) {
            ASSERT_EQ(cut[static_cast<std::size_t>(at)], whole[static_cast<std::size_t>(at)]) << at % 1000;
        }
    }
}

}  // namespace
}  // namespace zv
