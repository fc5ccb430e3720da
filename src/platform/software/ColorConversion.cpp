// The kernels in portable C++, and the selection of the fastest set.
#include "platform/software/ColorConversion.h"

#include "platform/software/ColorMatrix.h"

namespace zv {
namespace {

constexpr std::size_t blue = 0;
constexpr std::size_t green = 1;
constexpr std::size_t red = 2;

std::uint8_t LumaOf(const std::uint8_t* pixel) {
    const std::int32_t sum = matrix::lumaRed * pixel[red] + 2 * matrix::lumaGreenHalf * pixel[green] +
                             matrix::lumaBlue * pixel[blue] + matrix::lumaBias;
    return static_cast<std::uint8_t>(sum >> matrix::shift);
}

std::int32_t SumOfFour(const std::uint8_t* top, const std::uint8_t* bottom, std::size_t channel) {
    return top[channel] + top[channel + 4] + bottom[channel] + bottom[channel + 4];
}

void ConvertRows(const std::uint8_t* top, const std::uint8_t* bottom, std::size_t pixels, std::uint8_t* lumaTop,
                 std::uint8_t* lumaBottom, std::uint8_t* chroma) {
    for (std::size_t x = 0; x < pixels; ++x) {
        lumaTop[x] = LumaOf(top + 4 * x);
        lumaBottom[x] = LumaOf(bottom + 4 * x);
    }
    for (std::size_t x = 0; x < pixels; x += 2) {
        const std::int32_t r = SumOfFour(top + 4 * x, bottom + 4 * x, red);
        const std::int32_t g = SumOfFour(top + 4 * x, bottom + 4 * x, green);
        const std::int32_t b = SumOfFour(top + 4 * x, bottom + 4 * x, blue);
        const std::int32_t cb = matrix::cbRed * r + matrix::cbGreen * g + matrix::cbBlue * b + matrix::chromaBias;
        const std::int32_t cr = matrix::crRed * r + matrix::crGreen * g + matrix::crBlue * b + matrix::chromaBias;
        chroma[x] = static_cast<std::uint8_t>(cb >> matrix::shift);
        chroma[x + 1] = static_cast<std::uint8_t>(cr >> matrix::shift);
    }
}

/// from + (to - from) * weight / 32768, rounded to nearest.
std::int16_t Blend(std::int32_t from, std::int32_t to, std::int32_t weight) {
    return static_cast<std::int16_t>(from + (((to - from) * weight + 0x4000) >> 15));
}

void BlendRows(const std::uint8_t* top, const std::uint8_t* bottom, std::int16_t weight, std::size_t pixels,
               std::int16_t* blended) {
    for (std::size_t value = 0; value < 4 * pixels; ++value) {
        blended[value] = Blend(top[value] << blendedBits, bottom[value] << blendedBits, weight);
    }
}

void ResampleRow(const std::int16_t* blended, const ColumnTaps& taps, std::size_t first, std::size_t last,
                 std::uint8_t* pixels) {
    constexpr std::int32_t half = 1 << (blendedBits - 1);
    for (std::size_t x = first; x < last; ++x) {
        const std::int16_t* from = blended + 4 * std::size_t{taps.index[x]};
        for (std::size_t channel = 0; channel < 4; ++channel) {
            const std::int32_t value = Blend(from[channel], from[channel + 4], taps.weight[4 * x]);
            pixels[4 * x + channel] = static_cast<std::uint8_t>((value + half) >> blendedBits);
        }
    }
}

}  // namespace

const ConversionKernels& PlainKernels() {
    static constexpr ConversionKernels kernels{ConvertRows, BlendRows, ResampleRow};
    return kernels;
}

const ConversionKernels& BestKernels() {
    for (const ConversionKernels* fast : {Avx512Kernels(), Avx2Kernels()}) {
        if (fast != nullptr) {
            return *fast;
        }
    }
    return PlainKernels();
}

}  // namespace zv
