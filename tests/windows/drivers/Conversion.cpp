// Plain arithmetic, a pixel pair at a time: four luma samples for each pair of chroma samples.
#include "windows/drivers/Conversion.h"

#include <algorithm>
#include <cmath>

namespace zv::drivers {
namespace {

struct Rgb {
    double r = 0;
    double g = 0;
    double b = 0;
};

struct Matrix {
    explicit Matrix(const ConversionState& state)
        : kr(state.matrix709 ? 0.2126 : 0.299),
          kb(state.matrix709 ? 0.0722 : 0.114),
          offset(state.outputLimited ? 16 : 0),
          lumaSpan(state.outputLimited ? 219 : 255),
          chromaSpan(state.outputLimited ? 224 : 255),
          low(state.sourceLimited ? 16 : 0),
          span(state.sourceLimited ? 219 : 255) {}

    Rgb From(std::uint32_t pixel) const {
        const auto part = [&](unsigned shift) { return (static_cast<double>((pixel >> shift) & 0xFFU) - low) / span; };
        return {part(16), part(8), part(0)};
    }
    double Luma(const Rgb& rgb) const { return kr * rgb.r + (1 - kr - kb) * rgb.g + kb * rgb.b; }
    std::uint8_t Y(const Rgb& rgb) const { return Byte(offset + lumaSpan * Luma(rgb)); }
    std::uint8_t Cb(const Rgb& rgb) const { return Byte(128 + chromaSpan * (rgb.b - Luma(rgb)) / (2 * (1 - kb))); }
    std::uint8_t Cr(const Rgb& rgb) const { return Byte(128 + chromaSpan * (rgb.r - Luma(rgb)) / (2 * (1 - kr))); }

    static std::uint8_t Byte(double value) {
        return static_cast<std::uint8_t>(std::clamp(std::floor(value + 0.5), 0.0, 255.0));
    }

    double kr, kb, offset, lumaSpan, chromaSpan, low, span;
};

/// The nearest source coordinate of `at` within a line that `from`..`to` is stretched to.
std::int32_t Nearest(std::int32_t at, std::int32_t begin, std::int32_t end, std::int32_t from, std::int32_t to) {
    return from + static_cast<std::int32_t>((std::int64_t{2} * (at - begin) + 1) * (to - from) / (2 * (end - begin)));
}

/// The first and last-but-one even destination coordinate that a span of the source can touch.
void Touched(std::uint32_t first, std::uint32_t last, std::int32_t begin, std::int32_t end, std::int32_t from,
             std::int32_t to, std::int32_t& low, std::int32_t& high) {
    const double scale = static_cast<double>(end - begin) / (to - from);
    low = begin + static_cast<std::int32_t>(std::floor((static_cast<double>(first) - from) * scale)) - 2;
    high = begin + static_cast<std::int32_t>(std::ceil((static_cast<double>(last) - from) * scale)) + 2;
    low = std::clamp(low, begin, end) & ~1;
    high = std::clamp(high, begin, end);
}

}  // namespace

void FillBackground(const ConversionState& state, Pixels& frame) {
    const auto byte = [](float value) { return Matrix::Byte(std::floor(static_cast<double>(value) * 256)); };
    const std::size_t luma = std::size_t{frame.width} * frame.height;
    std::fill_n(frame.nv12.begin(), luma, byte(state.background[0]));
    for (std::size_t i = luma; i + 1 < frame.nv12.size(); i += 2) {
        frame.nv12[i] = byte(state.background[1]);
        frame.nv12[i + 1] = byte(state.background[2]);
    }
}

void Convert(const ConversionState& state, const Pixels& source, const Area& area, Pixels& frame) {
    const Matrix matrix(state);
    const Bounds& from = state.source;
    const Bounds& to = state.destination;
    std::int32_t left = 0;
    std::int32_t right = 0;
    std::int32_t top = 0;
    std::int32_t bottom = 0;
    Touched(area.left, area.right, to.left, to.right, from.left, from.right, left, right);
    Touched(area.top, area.bottom, to.top, to.bottom, from.top, from.bottom, top, bottom);
    std::uint32_t lastPixel = 0;
    Rgb last = matrix.From(0);
    std::uint8_t lastY = matrix.Y(last);
    for (std::int32_t y = top; y < bottom; y += 2) {
        for (std::int32_t x = left; x < right; x += 2) {
            Rgb sum;
            int count = 0;
            for (std::int32_t row = std::max(y, to.top); row < std::min(y + 2, to.bottom); ++row) {
                const std::int32_t sourceY = Nearest(row, to.top, to.bottom, from.top, from.bottom);
                for (std::int32_t column = std::max(x, to.left); column < std::min(x + 2, to.right); ++column) {
                    const std::int32_t sourceX = Nearest(column, to.left, to.right, from.left, from.right);
                    const std::uint32_t pixel =
                        source
                            .bgra[static_cast<std::size_t>(sourceY) * source.width + static_cast<std::size_t>(sourceX)];
                    if (pixel != lastPixel) {
                        lastPixel = pixel;
                        last = matrix.From(pixel);
                        lastY = matrix.Y(last);
                    }
                    frame.nv12[static_cast<std::size_t>(row) * frame.width + static_cast<std::size_t>(column)] = lastY;
                    sum = {sum.r + last.r, sum.g + last.g, sum.b + last.b};
                    ++count;
                }
            }
            const Rgb mean = {sum.r / count, sum.g / count, sum.b / count};
            const std::size_t chroma = std::size_t{frame.width} * frame.height +
                                       static_cast<std::size_t>(y / 2) * frame.width + static_cast<std::size_t>(x);
            frame.nv12[chroma] = matrix.Cb(mean);
            frame.nv12[chroma + 1] = matrix.Cr(mean);
        }
    }
}

}  // namespace zv::drivers
