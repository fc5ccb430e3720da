// The conversion from desktop pixels to NV12: exact colours, a double-precision reference, scaling, bars and damage.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "platform/software/ColorConversion.h"
#include "platform/software/VideoScaler.h"

namespace zv {
namespace {

struct Rgb {
    double r = 0;
    double g = 0;
    double b = 0;
};

struct Ycc {
    double y = 0;
    double cb = 0;
    double cr = 0;
};

/// BT.709, limited range, without rounding.
Ycc Reference(const Rgb& color) {
    const double luma = 0.2126 * color.r + 0.7152 * color.g + 0.0722 * color.b;
    return {16 + luma * 219 / 255, 128 + (color.b - luma) / 1.8556 * 224 / 255,
            128 + (color.r - luma) / 1.5748 * 224 / 255};
}

ScalerState LimitedBt709WithBlackBars() {
    ScalerState state;
    state.outputColorSpace = 20;
    state.backgroundY = 0.0625F;
    state.backgroundCb = 0.5F;
    state.backgroundCr = 0.5F;
    return state;
}

struct Conversion : testing::Test {
    void Make(std::uint32_t width, std::uint32_t height, std::uint32_t outWidth, std::uint32_t outHeight,
              const ConversionKernels& kernels = BestKernels()) {
        ASSERT_EQ(MakeCaptureSurface(device, width, height, source), resultOk);
        ASSERT_EQ(MakeNv12Surface(device, outWidth, outHeight, target), resultOk);
        ASSERT_EQ(OpenVideoProcessing(device, processing), resultOk);
        ASSERT_EQ(MakeVideoScaler(*processing, {width, height, outWidth, outHeight, 60}, scaler), resultOk);
        ASSERT_EQ(MakeScalerViews(*scaler, *source, *target, views), resultOk);
        scaler->kernels = &kernels;
        const double scale = std::min(double{1} * outWidth / width, double{1} * outHeight / height);
        const auto fitWidth = static_cast<std::int32_t>(width * scale) & ~1;
        const auto fitHeight = static_cast<std::int32_t>(height * scale) & ~1;
        const auto frameWidth = static_cast<std::int32_t>(outWidth);
        const auto frameHeight = static_cast<std::int32_t>(outHeight);
        state.source = {0, 0, static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)};
        state.destination = {(frameWidth - fitWidth) / 2, (frameHeight - fitHeight) / 2, (frameWidth + fitWidth) / 2,
                             (frameHeight + fitHeight) / 2};
        state.target = {0, 0, frameWidth, frameHeight};
        SetScalerState(*scaler, state);
    }
    void PaintNoise(const Rectangle& part, std::uint32_t seed) {
        std::mt19937 random(seed);
        for (std::int32_t y = part.top; y < part.bottom; ++y) {
            for (std::int32_t x = part.left; x < part.right; ++x) {
                const auto pixel = static_cast<std::uint32_t>(random());
                std::memcpy(PixelAt(x, y), &pixel, 4);
            }
        }
        source->changed.Add(part);
    }
    void Fill(std::uint32_t color) {
        for (std::int32_t y = 0; y < state.source.bottom; ++y) {
            for (std::int32_t x = 0; x < state.source.right; ++x) {
                std::memcpy(PixelAt(x, y), &color, 4);
            }
        }
        source->changed.Add(state.source);
    }
    void Run() { ASSERT_EQ(RunScaler(*scaler, *views, 0), resultOk); }
    std::uint8_t* PixelAt(std::int32_t x, std::int32_t y) const {
        return source->pixels + static_cast<std::size_t>(y) * source->stride + 4 * static_cast<std::size_t>(x);
    }
    Rgb ColorAt(std::int32_t x, std::int32_t y) const {
        const std::uint8_t* pixel =
            PixelAt(std::clamp(x, 0, state.source.right - 1), std::clamp(y, 0, state.source.bottom - 1));
        return {double{1} * pixel[2], double{1} * pixel[1], double{1} * pixel[0]};
    }
    /// The picture at a position in the frame, interpolated between the source's pixel centres.
    Rgb Sampled(std::int32_t x, std::int32_t y) const {
        const Rectangle& to = state.destination;
        const double sx = std::clamp((x - to.left + 0.5) * state.source.right / (to.right - to.left) - 0.5, 0.0,
                                     state.source.right - 1.0);
        const double sy = std::clamp((y - to.top + 0.5) * state.source.bottom / (to.bottom - to.top) - 0.5, 0.0,
                                     state.source.bottom - 1.0);
        const auto left = static_cast<std::int32_t>(sx);
        const auto top = static_cast<std::int32_t>(sy);
        Rgb sum;
        for (const auto& [dx, dy] : {std::pair{0, 0}, {1, 0}, {0, 1}, {1, 1}}) {
            const double weight = (dx == 0 ? 1 - (sx - left) : sx - left) * (dy == 0 ? 1 - (sy - top) : sy - top);
            const Rgb color = ColorAt(left + dx, top + dy);
            sum = {sum.r + weight * color.r, sum.g + weight * color.g, sum.b + weight * color.b};
        }
        return sum;
    }
    std::uint8_t Luma(std::int32_t x, std::int32_t y) const {
        return target->pixels[static_cast<std::size_t>(y) * target->stride + static_cast<std::size_t>(x)];
    }
    std::uint8_t Chroma(std::int32_t x, std::int32_t y, std::size_t which) const {
        return target
            ->chroma[static_cast<std::size_t>(y / 2) * target->stride + static_cast<std::size_t>(x & ~1) + which];
    }
    std::vector<std::uint8_t> Frame() const {
        return {target->pixels, target->pixels + target->stride * target->height * 3 / 2};
    }
    /// The largest difference of a sample inside the destination from the reference.
    double WorstDifference() const {
        double worst = 0;
        const Rectangle inside{(state.destination.left + 1) & ~1, (state.destination.top + 1) & ~1,
                               state.destination.right & ~1, state.destination.bottom & ~1};
        for (std::int32_t y = inside.top; y < inside.bottom; y += 2) {
            for (std::int32_t x = inside.left; x < inside.right; x += 2) {
                Rgb sum;
                for (const auto& [dx, dy] : {std::pair{0, 0}, {1, 0}, {0, 1}, {1, 1}}) {
                    const Rgb color = Sampled(x + dx, y + dy);
                    worst = std::max(worst, std::abs(Reference(color).y - Luma(x + dx, y + dy)));
                    sum = {sum.r + color.r / 4, sum.g + color.g / 4, sum.b + color.b / 4};
                }
                worst = std::max(worst, std::abs(Reference(sum).cb - Chroma(x, y, 0)));
                worst = std::max(worst, std::abs(Reference(sum).cr - Chroma(x, y, 1)));
            }
        }
        return worst;
    }

    GraphicsDevice device;
    Owned<Surface> source;
    Owned<Surface> target;
    Owned<VideoProcessing> processing;
    Owned<VideoScaler> scaler;
    Owned<ScalerViews> views;
    ScalerState state = LimitedBt709WithBlackBars();
};

/// All sets of kernels that this processor supports.
std::vector<const ConversionKernels*> AllKernels() {
    std::vector<const ConversionKernels*> all{&PlainKernels()};
    for (const ConversionKernels* fast : {Avx2Kernels(), Avx512Kernels()}) {
        if (fast != nullptr) {
            all.push_back(fast);
        }
    }
    return all;
}

TEST_F(Conversion, GivesBlackWhiteAndThePrimariesTheirExactCodes) {
    struct Row {
        std::uint32_t color;
        int y, cb, cr;
    };
    // From the standard: 16 + 219 * luma, 128 + 224 * (blue - luma) / 1.8556, 128 + 224 * (red - luma) / 1.5748.
    const Row rows[] = {{0x000000, 16, 128, 128}, {0xFFFFFF, 235, 128, 128}, {0xFF0000, 63, 102, 240},
                        {0x00FF00, 173, 42, 26},  {0x0000FF, 32, 240, 118},  {0xFFFF00, 219, 16, 138},
                        {0x00FFFF, 188, 154, 16}, {0xFF00FF, 78, 214, 230},  {0x808080, 126, 128, 128}};
    for (const auto* kernels : AllKernels()) {
        Make(64, 32, 64, 32, *kernels);
        for (const Row& row : rows) {
            Fill(row.color);
            Run();
            for (const std::int32_t x : {0, 31, 63}) {
                EXPECT_EQ(Luma(x, 31), row.y) << std::hex << row.color;
                EXPECT_EQ(Chroma(x, 31, 0), row.cb) << std::hex << row.color;
                EXPECT_EQ(Chroma(x, 31, 1), row.cr) << std::hex << row.color;
            }
        }
    }
}

TEST_F(Conversion, IsExactToHalfACodeAtEqualSize) {
    for (const auto* kernels : AllKernels()) {
        Make(198, 64, 198, 64, *kernels);
        PaintNoise(state.source, 1);
        Run();
        // The coefficients are rounded as well as the result.
        EXPECT_LT(WorstDifference(), 0.515);
    }
}

TEST_F(Conversion, KeepsEveryGreyGrey) {
    for (const auto* kernels : AllKernels()) {
        Make(256, 2, 256, 2, *kernels);
        for (std::int32_t y : {0, 1}) {
            for (std::int32_t x = 0; x < 256; ++x) {
                std::memset(PixelAt(x, y), x, 4);
            }
        }
        // Two greys share a chroma sample.
        Run();
        for (std::int32_t x = 0; x < 256; ++x) {
            EXPECT_EQ(Luma(x, 0), std::lround(16 + x * 219.0 / 255)) << x;
            EXPECT_EQ(Chroma(x, 0, 0), 128) << x;
            EXPECT_EQ(Chroma(x, 0, 1), 128) << x;
        }
    }
}

TEST_F(Conversion, StaysWithinOneCodeOfTheReferenceWhenScaled) {
    const std::uint32_t sizes[][4] = {{256, 144, 192, 108}, {344, 144, 192, 108}, {128, 102, 192, 108},
                                      {192, 108, 384, 216}, {171, 96, 192, 108},  {96, 54, 320, 180}};
    for (const auto& [width, height, outWidth, outHeight] : sizes) {
        Make(width, height, outWidth, outHeight);
        PaintNoise(state.source, width);
        Run();
        EXPECT_LT(WorstDifference(), 1.0) << width << " x " << height;
    }
}

TEST_F(Conversion, GivesTheSameBytesWithAndWithoutVectorInstructions) {
    const std::uint32_t sizes[][4] = {{454, 64, 454, 64},   {326, 8, 326, 8},     {34, 18, 34, 18},
                                      {256, 144, 192, 108}, {128, 102, 192, 108}, {171, 96, 192, 108},
                                      {192, 108, 384, 216}};
    for (const auto& [width, height, outWidth, outHeight] : sizes) {
        std::vector<std::uint8_t> plain;
        for (const auto* kernels : AllKernels()) {
            Make(width, height, outWidth, outHeight, *kernels);
            PaintNoise(state.source, height);
            Run();
            if (kernels == &PlainKernels()) {
                plain = Frame();
            }
            EXPECT_TRUE(Frame() == plain) << width << " x " << height;
        }
    }
}

TEST_F(Conversion, UsesTheFastestInstructionsThatTheProcessorHas) { EXPECT_EQ(&BestKernels(), AllKernels().back()); }

/// The values lie on both sides of a half.
TEST_F(Conversion, RoundsAResampledPixelToTheNearest) {
    for (const auto* kernels : AllKernels()) {
        // Two columns of 0 and 200 become 32 columns, with steps of a sixteenth between them.
        Make(2, 2, 32, 2, *kernels);
        state.source = {0, 0, 2, 2};
        state.destination = state.target;
        SetScalerState(*scaler, state);
        for (std::int32_t y : {0, 1}) {
            std::memset(PixelAt(0, y), 0, 4);
            std::memset(PixelAt(1, y), 200, 4);
        }
        Run();
        for (std::int32_t x = 0; x < 32; ++x) {
            const double way = std::clamp((x + 0.5) / 16 - 0.5, 0.0, 1.0);
            const auto grey = static_cast<double>(std::lround(200 * way));
            EXPECT_EQ(Luma(x, 0), std::lround(16 + grey * 219 / 255)) << x;
        }
    }
}

TEST_F(Conversion, PaintsOnlyTheBarsInVideoBlack) {
    // 285 columns at each side: the picture starts inside a chroma sample.
    Make(1280, 1024, 1920, 1080);
    ASSERT_EQ(state.destination, (Rectangle{285, 0, 1635, 1080}));
    Fill(0xFFFFFF);
    Run();
    for (const std::int32_t y : {0, 539, 1079}) {
        for (std::int32_t x = 0; x < 1920; ++x) {
            const bool bar = x < 285 || x >= 1635;
            ASSERT_EQ(Luma(x, y), bar ? 16 : 235) << x << ", " << y;
            ASSERT_EQ(Chroma(x, y, 0), 128);
            ASSERT_EQ(Chroma(x, y, 1), 128);
        }
    }
    // A wide one, with an odd first row.
    Make(3440, 1440, 1920, 1080);
    ASSERT_EQ(state.destination, (Rectangle{0, 139, 1920, 941}));
    Fill(0xFFFFFF);
    Run();
    for (std::int32_t y = 0; y < 1080; ++y) {
        ASSERT_EQ(Luma(7, y), y < 139 || y >= 941 ? 16 : 235) << y;
    }
}

TEST_F(Conversion, OfTheDamageEqualsTheConversionOfTheWhole) {
    const std::uint32_t sizes[][4] = {
        {192, 108, 192, 108}, {256, 144, 192, 108}, {128, 102, 192, 108}, {171, 96, 192, 108}, {344, 144, 192, 108}};
    for (const auto& [width, height, outWidth, outHeight] : sizes) {
        Make(width, height, outWidth, outHeight);
        PaintNoise(state.source, 1);
        Run();
        std::mt19937 random(7);
        for (int round = 0; round < 40; ++round) {
            const auto left = static_cast<std::int32_t>(random() % (width - 1));
            const auto top = static_cast<std::int32_t>(random() % (height - 1));
            const auto right = left + 1 + static_cast<std::int32_t>(random() % std::min(width - left, 30U));
            const auto bottom = top + 1 + static_cast<std::int32_t>(random() % std::min(height - top, 30U));
            PaintNoise({left, top, right, bottom}, static_cast<std::uint32_t>(random()));
            Run();
        }
        const auto piecewise = Frame();
        SetScalerState(*scaler, state);
        Run();
        ASSERT_EQ(piecewise, Frame()) << width << " x " << height;
    }
}

TEST_F(Conversion, OfOnePixelWritesExactlyWhatDependsOnIt) {
    struct Row {
        std::uint32_t width, outWidth;
        std::int32_t column, left, right;
    };
    // Calculated by hand: the columns that depend on column c are those from (c - 0.5) * out / in - 0.5 to before
    // (c + 1.5) * out / in - 0.5, extended to even columns.
    const Row rows[] = {
        {96, 192, 50, 98, 104},   // 98.5 to 102.5: 99 to 102
        {96, 192, 0, 0, 4},       // to 2.5: 0 to 2
        {96, 192, 95, 188, 192},  // from 188.5: 189 to 191
        {288, 192, 98, 64, 66},   // 64.5 to 65.83: 65
        {288, 192, 99, 66, 68},   // 65.17 to 66.5: 66
        {288, 192, 100, 66, 68},  // 65.83 to 67.17: 66 and 67
        {256, 192, 101, 74, 78},  // 74.875 to 76.375: 75 and 76
    };
    for (const Row& row : rows) {
        Make(row.width, row.width * 9 / 16 & ~1U, row.outWidth, 108);
        PaintNoise(state.source, 1);
        Run();
        target->changed.Clear();
        source->changed.Add({row.column, 20, row.column + 1, 21});
        Run();
        ASSERT_EQ(target->changed.Rectangles().size(), 1U);
        EXPECT_EQ(target->changed.Rectangles()[0].left, row.left) << row.width << ", " << row.column;
        EXPECT_EQ(target->changed.Rectangles()[0].right, row.right) << row.width << ", " << row.column;
    }
}

TEST_F(Conversion, WritesAndReportsNothingIfNothingChanged) {
    Make(192, 108, 192, 108);
    PaintNoise(state.source, 1);
    Run();
    target->changed.Clear();
    std::memset(target->pixels, 77, target->stride * 108);
    Run();
    EXPECT_TRUE(target->changed.Empty());
    EXPECT_EQ(Luma(0, 0), 77);
    source->changed.Add({10, 20, 13, 23});
    Run();
    ASSERT_EQ(target->changed.Rectangles().size(), 1U);
    EXPECT_EQ(target->changed.Rectangles()[0], (Rectangle{10, 20, 14, 24}));
    EXPECT_TRUE(source->changed.Empty());
}

TEST_F(Conversion, RefusesUnsupportedSizesAndStates) {
    Make(192, 108, 192, 108);
    EXPECT_TRUE(Failed(MakeNv12Surface(device, 191, 108, target)));
    EXPECT_TRUE(Failed(MakeCaptureSurface(device, 0, 108, target)));
    EXPECT_TRUE(Failed(MakeVideoScaler(*processing, {0, 108, 192, 108, 60}, scaler)));
    Make(192, 108, 192, 108);
    EXPECT_TRUE(Failed(MakeScalerViews(*scaler, *target, *source, views)));
    state.destination.right = 194;
    SetScalerState(*scaler, state);
    EXPECT_TRUE(Failed(RunScaler(*scaler, *views, 0)));
    state.destination.right = 192;
    state.outputColorSpace = 0;
    SetScalerState(*scaler, state);
    EXPECT_TRUE(Failed(RunScaler(*scaler, *views, 0)));
    state.outputColorSpace = 20;
    SetScalerState(*scaler, state);
    EXPECT_EQ(RunScaler(*scaler, *views, 0), resultOk);
    state.backgroundY = 0.5F;
    SetScalerState(*scaler, state);
    EXPECT_TRUE(Failed(RunScaler(*scaler, *views, 0)));
}

TEST(ChangedParts, BecomeOneBoxWhenThereAreMoreThanSixteen) {
    Damage damage;
    for (int index = 0; index < 16; ++index) {
        damage.Add({index * 10, index * 10, index * 10 + 5, index * 10 + 5});
    }
    EXPECT_EQ(damage.Rectangles().size(), 16U);
    damage.Add({0, 0, 3, 3});
    EXPECT_EQ(damage.Rectangles().size(), 16U) << "known already";
    damage.Add({3, 300, 4, 301});
    ASSERT_EQ(damage.Rectangles().size(), 1U);
    EXPECT_EQ(damage.Rectangles()[0], (Rectangle{0, 0, 155, 301}));
    damage.Add({5, 5, 5, 9});
    EXPECT_EQ(damage.Rectangles().size(), 1U);
}

}  // namespace
}  // namespace zv
