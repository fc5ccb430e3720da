// The pixels that a canvas guarantees on every system: edges have their exact positions, and letters stay inside their
// box. Antialiasing and the shapes of letters depend on the system.
#include "platform/Canvas.h"

#include <gtest/gtest.h>

#include <limits>

namespace zv {
namespace {

constexpr Color white = Rgb(255, 255, 255);

/// The bounds and the amount of all that is not black.
struct Ink {
    int left = std::numeric_limits<int>::max();
    int top = std::numeric_limits<int>::max();
    int right = -1;  ///< one past the last column
    int bottom = -1;
    double amount = 0;  ///< 1 for a white pixel

    double Middle() const { return (left + right) / 2.0; }
    double Centre() const { return (top + bottom) / 2.0; }
    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
    bool None() const { return right < 0; }
};

class CanvasPixels : public testing::Test {
protected:
    CanvasPixels() : canvas_(MakeCanvas(200, 120)) {}

    /// 0xRRGGBB.
    std::uint32_t At(int x, int y) {
        const PixelView view = PixelsOf(*canvas_);
        return view.pixels[y * view.width + x] & 0xFFFFFFU;
    }
    Ink InkOf() {
        Ink ink;
        const PixelView view = PixelsOf(*canvas_);
        for (int y = 0; y < view.height; ++y) {
            for (int x = 0; x < view.width; ++x) {
                const std::uint32_t pixel = At(x, y);
                if (pixel == 0) {
                    continue;
                }
                ink.left = std::min(ink.left, x);
                ink.top = std::min(ink.top, y);
                ink.right = std::max(ink.right, x + 1);
                ink.bottom = std::max(ink.bottom, y + 1);
                ink.amount += (pixel >> 8U & 0xFFU) / 255.0;
            }
        }
        return ink;
    }
    Ink InkOfText(TextView text, const Rectangle& box, TextLayout layout, const Font& font) {
        FillBox(*canvas_, {0, 0, 200, 120}, 0);
        DrawTextInBox(*canvas_, box, text, white, font, layout);
        return InkOf();
    }

    Owned<Canvas> canvas_;
    Owned<Font> body_ = MakeFont(17, 400);
    Owned<Font> bold_ = MakeFont(17, 700);
};

TEST_F(CanvasPixels, AreBlackAtFirst) {
    const PixelView view = PixelsOf(*canvas_);
    EXPECT_EQ(view.width, 200);
    EXPECT_EQ(view.height, 120);
    EXPECT_TRUE(InkOf().None());
}

TEST_F(CanvasPixels, ExistOnlyForASupportedSize) {
    EXPECT_EQ(MakeCanvas(0, 10), nullptr);
    EXPECT_EQ(MakeCanvas(10, 0), nullptr);
    EXPECT_EQ(MakeCanvas(-1, 10), nullptr);
    EXPECT_EQ(MakeCanvas(1'000'000, 1'000'000), nullptr);
    EXPECT_NE(MakeCanvas(1, 1), nullptr);
}

TEST_F(CanvasPixels, HaveTheRightChannels) {
    FillBox(*canvas_, {0, 0, 10, 10}, Rgb(17, 34, 51));
    EXPECT_EQ(At(5, 5), 0x112233U);
}

TEST_F(CanvasPixels, ABoxExcludesItsRightAndBottom) {
    FillBox(*canvas_, {10, 20, 31, 47}, white);
    const Ink ink = InkOf();
    EXPECT_EQ(ink.left, 10);
    EXPECT_EQ(ink.top, 20);
    EXPECT_EQ(ink.right, 31);
    EXPECT_EQ(ink.bottom, 47);
    EXPECT_EQ(ink.amount, 21 * 27);
}

TEST_F(CanvasPixels, AnEmptyBoxPaintsNothing) {
    FillBox(*canvas_, {10, 20, 10, 47}, white);
    FillBox(*canvas_, {10, 20, 40, 20}, white);
    EXPECT_TRUE(InkOf().None());
}

TEST_F(CanvasPixels, ATransformScalesAndMovesUntilItIsPopped) {
    PushTransform(*canvas_, {20, 10}, 2);
    PushTransform(*canvas_, {5, 4}, 1.5);
    FillBox(*canvas_, {0, 0, 10, 4}, white);  // at 30, 18 and three times as large
    Ink ink = InkOf();
    EXPECT_EQ(ink.left, 30);
    EXPECT_EQ(ink.top, 18);
    EXPECT_EQ(ink.right, 60);
    EXPECT_EQ(ink.bottom, 30);
    PopTransform(*canvas_);
    FillBox(*canvas_, {-10, -5, -9, -4}, white);
    EXPECT_EQ(At(0, 0), 0xFFFFFFU);
    EXPECT_EQ(At(1, 1), 0xFFFFFFU);
    EXPECT_EQ(At(2, 2), 0U);
    PopTransform(*canvas_);
    FillBox(*canvas_, {199, 119, 200, 120}, white);
    EXPECT_EQ(At(199, 119), 0xFFFFFFU);
    EXPECT_EQ(At(198, 118), 0U);
}

TEST_F(CanvasPixels, BoxesSideBySideLeaveNoGapAtAnyScale) {
    for (const double scale : {0.25, 0.88, 1.0, 1.1, 1.25, 1.5, 1.75}) {
        FillBox(*canvas_, {0, 0, 200, 120}, 0);
        PushTransform(*canvas_, {}, scale);
        for (int i = 0; i < 20; ++i) {
            FillBox(*canvas_, {i * 5, 0, i * 5 + 5, 10}, white);
        }
        PopTransform(*canvas_);
        const Ink ink = InkOf();
        EXPECT_EQ(ink.amount, ink.Width() * ink.Height()) << scale;
    }
}

TEST_F(CanvasPixels, ARoundBoxFillsItsSidesButNotItsCorners) {
    FillRoundBox(*canvas_, {10, 10, 60, 50}, 12, white);
    const Ink ink = InkOf();
    EXPECT_EQ(ink.left, 10);
    EXPECT_EQ(ink.top, 10);
    EXPECT_EQ(ink.right, 60);
    EXPECT_EQ(ink.bottom, 50);
    for (const auto& [x, y] : {std::pair(10, 10), std::pair(59, 10), std::pair(10, 49), std::pair(59, 49)}) {
        EXPECT_EQ(At(x, y), 0U) << x << " " << y;
    }
    // The corner is rounded by a radius of 6.
    for (const auto& [x, y] : {std::pair(17, 10), std::pair(10, 17), std::pair(52, 49), std::pair(59, 42)}) {
        EXPECT_EQ(At(x, y), 0xFFFFFFU) << x << " " << y;
    }
    const double missing = 4 * 36 - 3.14159 * 36;
    EXPECT_NEAR(ink.amount, 50 * 40 - missing, 12);
}

TEST_F(CanvasPixels, AFrameHasTheRequestedDepth) {
    FrameBox(*canvas_, {10, 10, 40, 30}, 2, white);
    const Ink ink = InkOf();
    EXPECT_EQ(ink.right, 40);
    EXPECT_EQ(ink.bottom, 30);
    EXPECT_EQ(ink.amount, 30 * 20 - 26 * 16);
    EXPECT_EQ(At(11, 28), 0xFFFFFFU);
    EXPECT_EQ(At(12, 27), 0U);
}

TEST_F(CanvasPixels, AFrameStaysVisibleUnderAShrinkingTransform) {
    PushTransform(*canvas_, {}, 0.25);
    FrameBox(*canvas_, {40, 40, 160, 120}, 2, white);
    PopTransform(*canvas_);
    EXPECT_EQ(At(20, 10), 0xFFFFFFU);
    EXPECT_EQ(At(10, 20), 0xFFFFFFU);
    EXPECT_EQ(At(39, 20), 0xFFFFFFU);
    EXPECT_EQ(At(20, 29), 0xFFFFFFU);
    EXPECT_EQ(At(20, 20), 0U);
}

TEST_F(CanvasPixels, ARoundFrameLiesInsideItsBox) {
    FrameRoundBox(*canvas_, {10, 10, 60, 50}, 12, white);
    // An antialiased corner may extend to the next pixel.
    const Ink ink = InkOf();
    EXPECT_NEAR(ink.left, 10, 1);
    EXPECT_NEAR(ink.top, 10, 1);
    EXPECT_NEAR(ink.right, 60, 1);
    EXPECT_NEAR(ink.bottom, 50, 1);
    for (const auto& [x, y] : {std::pair(35, 9), std::pair(35, 50), std::pair(9, 30), std::pair(60, 30)}) {
        EXPECT_EQ(At(x, y), 0U) << x << " " << y;
    }
    EXPECT_EQ(At(35, 10), 0xFFFFFFU);
    EXPECT_EQ(At(35, 49), 0xFFFFFFU);
    EXPECT_EQ(At(10, 30), 0xFFFFFFU);
    EXPECT_EQ(At(59, 30), 0xFFFFFFU);
    EXPECT_EQ(At(35, 12), 0U);
    EXPECT_EQ(At(10, 10), 0U);
}

// Text.

TEST_F(CanvasPixels, ALineIsVerticallyCentred) {
    const Ink ink = InkOfText(u"XH", {20, 30, 180, 90}, TextLayout::Line, *body_);
    EXPECT_GE(ink.left, 20);
    EXPECT_LE(ink.left, 24);
    EXPECT_NEAR(ink.Centre(), 60, 2);
    EXPECT_GE(ink.Height(), 7);
    EXPECT_LE(ink.Height(), 15);
}

TEST_F(CanvasPixels, ACentredLineIsHorizontallyCentredToo) {
    const Ink ink = InkOfText(u"XHX", {20, 30, 180, 90}, TextLayout::CentredLine, *body_);
    EXPECT_NEAR(ink.Middle(), 100, 1);
    EXPECT_NEAR(ink.Centre(), 60, 2);
}

TEST_F(CanvasPixels, LettersGrowWithTheTransform) {
    const Ink plain = InkOfText(u"XH", {10, 10, 90, 40}, TextLayout::Line, *body_);
    PushTransform(*canvas_, {}, 2);
    const Ink doubled = InkOfText(u"XH", {10, 10, 90, 40}, TextLayout::Line, *body_);
    PopTransform(*canvas_);
    EXPECT_NEAR(doubled.Height(), 2 * plain.Height(), 2);
    EXPECT_NEAR(doubled.Width(), 2 * plain.Width(), 4);
    EXPECT_NEAR(doubled.Centre(), 2 * plain.Centre(), 3);
}

TEST_F(CanvasPixels, TheHeightOfAFontIsTheHeightOfALine) {
    // The text extends from the accent of the highest capital to the lowest descender.
    const auto tall = MakeFont(60, 400);
    const Ink ink = InkOfText(u"\u00C5gjp", {0, 20, 200, 80}, TextLayout::Line, *tall);
    EXPECT_GE(ink.top, 20);
    EXPECT_LE(ink.bottom, 80);
    EXPECT_GE(ink.Height(), 45);
}

TEST_F(CanvasPixels, BoldLettersHaveMoreInk) {
    const Ink thin = InkOfText(u"Zorvel", {0, 0, 200, 30}, TextLayout::Line, *body_);
    const Ink thick = InkOfText(u"Zorvel", {0, 0, 200, 30}, TextLayout::Line, *bold_);
    EXPECT_GT(thick.amount, thin.amount * 1.1);
}

TEST_F(CanvasPixels, AnAmpersandIsALetter) {
    const Ink without = InkOfText(u"ab", {0, 0, 200, 30}, TextLayout::Line, *body_);
    const Ink with = InkOfText(u"a&b", {0, 0, 200, 30}, TextLayout::Line, *body_);
    EXPECT_GT(with.Width(), without.Width() + 5);
}

TEST_F(CanvasPixels, ALongLineEndsInAnEllipsisInsideItsBox) {
    // Full blocks are high, the ellipsis is low.
    const Text blocks(40, u'H');
    for (const TextLayout layout : {TextLayout::Line, TextLayout::CentredLine}) {
        const Ink ink = InkOfText(blocks, {20, 30, 120, 60}, layout, *body_);
        EXPECT_GE(ink.left, 20);
        EXPECT_LE(ink.right, 120);
        EXPECT_GT(ink.right, 95);
        int highInk = 0;
        for (int x = ink.right - 4; x < ink.right; ++x) {
            for (int y = ink.top; y < ink.top + ink.Height() / 2; ++y) {
                highInk += At(x, y) != 0 ? 1 : 0;
            }
        }
        EXPECT_EQ(highInk, 0);
    }
}

TEST_F(CanvasPixels, TextIsNotPaintedOutsideItsBox) {
    const auto tall = MakeFont(60, 700);
    for (const TextLayout layout : {TextLayout::Line, TextLayout::CentredLine, TextLayout::Wrapped}) {
        const Ink ink = InkOfText(u"HHHHHHHHHH HHHHHHHHHHHHHHHHHHH HHH", {50, 50, 90, 70}, layout, *tall);
        if (ink.None()) {
            continue;
        }
        EXPECT_GE(ink.left, 50);
        EXPECT_GE(ink.top, 50);
        EXPECT_LE(ink.right, 90);
        EXPECT_LE(ink.bottom, 70);
    }
}

TEST_F(CanvasPixels, WrappedTextStartsAtTheTopAndBreaksBetweenWords) {
    const Ink one = InkOfText(u"HHHHH", {20, 10, 80, 110}, TextLayout::Wrapped, *body_);
    EXPECT_LT(one.bottom, 30);
    const Ink two = InkOfText(u"HHHHH HHHHH", {20, 10, 80, 110}, TextLayout::Wrapped, *body_);
    EXPECT_EQ(two.top, one.top);
    EXPECT_EQ(two.left, one.left);
    EXPECT_EQ(two.Width(), one.Width());
    EXPECT_NEAR(two.bottom, one.bottom + 17, 1);
}

TEST_F(CanvasPixels, LongWrappedTextStaysInsideItsBox) {
    Text words;
    for (int i = 0; i < 60; ++i) {
        words += u"HHH ";
    }
    const Ink ink = InkOfText(words, {20, 10, 100, 47}, TextLayout::Wrapped, *body_);
    EXPECT_LE(ink.bottom, 47);
    EXPECT_GT(ink.bottom, 32);
}

TEST_F(CanvasPixels, TextMayContainAnyUnits) {
    Text strange = u"a";
    strange += char16_t{0xD800};
    strange += u'b';
    strange += char16_t{0xDC41};
    strange += char16_t{0};
    strange += u"\n\t\r";
    strange += char16_t{0xFFFF};
    for (const TextLayout layout : {TextLayout::Line, TextLayout::CentredLine, TextLayout::Wrapped}) {
        EXPECT_FALSE(InkOfText(strange, {0, 0, 200, 30}, layout, *body_).None());
        EXPECT_TRUE(InkOfText(u"", {0, 0, 200, 30}, layout, *body_).None());
    }
    InkOfText(Text(1'000'000, u'x'), {0, 0, 200, 30}, TextLayout::Line, *body_);
}

TEST_F(CanvasPixels, ALineBreakInASingleLineIsASpace) {
    const Ink line = InkOfText(u"HHH\nHHH", {0, 0, 200, 60}, TextLayout::Line, *body_);
    EXPECT_LT(line.Height(), 17);
}

TEST_F(CanvasPixels, AFontWithoutAHeightIsNotMade) {
    EXPECT_EQ(MakeFont(0, 400), nullptr);
    EXPECT_EQ(MakeFont(-17, 400), nullptr);
}

// Smooth lines and shapes.

TEST_F(CanvasPixels, ALineHasTheWidthOfItsPenAndRoundEnds) {
    const PointF points[] = {{40, 60}, {140, 60}};
    StrokeLines(*canvas_, points, false, {white, 10});
    const Ink ink = InkOf();
    EXPECT_NEAR(ink.left, 35, 1);
    EXPECT_NEAR(ink.right, 145, 1);
    EXPECT_NEAR(ink.top, 55, 1);
    EXPECT_NEAR(ink.bottom, 65, 1);
    EXPECT_NEAR(ink.amount, 100 * 10 + 3.14159 * 25, 15);
}

TEST_F(CanvasPixels, ALineIsClosedOnlyOnRequest) {
    const PointF points[] = {{20, 20}, {120, 20}, {120, 100}};
    StrokeLines(*canvas_, points, false, {white, 4});
    EXPECT_EQ(At(70, 60), 0U);
    StrokeLines(*canvas_, points, true, {white, 4});
    EXPECT_EQ(At(70, 60), 0xFFFFFFU);
    EXPECT_EQ(At(100, 50), 0U);
    FillPolygon(*canvas_, points, white);
    EXPECT_EQ(At(100, 50), 0xFFFFFFU);
}

TEST_F(CanvasPixels, AnArcGoesClockwiseFromTheRight) {
    StrokeArc(*canvas_, {{100, 60}, 40, 0, 90}, {white, 4});
    EXPECT_EQ(At(128, 88), 0xFFFFFFU);  // below, to the right
    EXPECT_EQ(At(128, 32), 0U);
    EXPECT_EQ(At(72, 88), 0U);
    StrokeArc(*canvas_, {{100, 60}, 40, 0, -90}, {white, 4});
    EXPECT_EQ(At(128, 32), 0xFFFFFFU);
    StrokeArc(*canvas_, {{100, 60}, 20}, {white, 4});
    EXPECT_EQ(At(80, 60), 0xFFFFFFU);
    EXPECT_EQ(At(100, 40), 0xFFFFFFU);
    EXPECT_EQ(At(100, 60), 0U);
}

TEST_F(CanvasPixels, SmoothShapesAreTransformedOnce) {
    PushTransform(*canvas_, {100, 60}, 2);
    FillDisc(*canvas_, {0, 0}, 20, Rgb(0, 255, 0));
    PopTransform(*canvas_);
    const Ink ink = InkOf();
    EXPECT_NEAR(ink.Width(), 80, 1);
    EXPECT_NEAR(ink.Middle(), 100, 1);
    EXPECT_NEAR(ink.Centre(), 60, 1);
    EXPECT_NEAR(ink.amount, 3.14159 * 1600, 100);
    EXPECT_EQ(At(100, 60), 0x00FF00U);
    // Boxes still use the transform afterwards.
    FillBox(*canvas_, {0, 0, 1, 1}, white);
    EXPECT_EQ(At(0, 0), 0xFFFFFFU);
}

// Pictures.

TEST_F(CanvasPixels, APictureFillsItsBox) {
    const std::uint32_t pixels[] = {0xFF0000U, 0xFFFFFF00U};
    DrawPixels(*canvas_, {20, 30, 120, 70}, {pixels, 2, 1});
    const Ink ink = InkOf();
    EXPECT_EQ(ink.left, 20);
    EXPECT_EQ(ink.top, 30);
    EXPECT_EQ(ink.right, 120);
    EXPECT_EQ(ink.bottom, 70);
    // The colours are interpolated between them.
    EXPECT_EQ(At(21, 31) & 0xFF00FFU, 0xFF0000U);
    EXPECT_LT(At(21, 31) >> 8U & 0xFFU, 8U);
    EXPECT_EQ(At(118, 68) & 0xFF00FFU, 0xFF0000U);
    EXPECT_GT(At(118, 68) >> 8U & 0xFFU, 247U);
}

TEST_F(CanvasPixels, APictureIsTransformed) {
    const std::uint32_t pixel = 0x00FF00U;
    PushTransform(*canvas_, {10, 10}, 1.5);
    DrawPixels(*canvas_, {0, 0, 10, 20}, {&pixel, 1, 1});
    PopTransform(*canvas_);
    const Ink ink = InkOf();
    EXPECT_EQ(ink.right, 25);
    EXPECT_EQ(ink.bottom, 40);
    DrawPixels(*canvas_, {0, 0, 100, 100}, {nullptr, 0, 0});
    EXPECT_EQ(InkOf().amount, ink.amount);
}

}  // namespace
}  // namespace zv
