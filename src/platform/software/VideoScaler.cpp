// The software counterpart of the fixed-function video processor: bilinear scaling between the given rectangles,
// BT.709.
//
// Each run converts the source's damage, extended by the filter's radius and to the chroma grid, and adds the written
// part to the target's damage. Only the first run paints the bars.
#include "platform/software/VideoScaler.h"

#include <errno.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>

namespace zv {
namespace {

constexpr std::uint32_t fullRangeRgb = 0;
constexpr std::uint32_t limitedBt709 = 20;
constexpr std::uint8_t blackLuma = 16;
constexpr std::uint8_t blackChroma = 128;

std::int32_t WidthOf(const Rectangle& rectangle) { return rectangle.right - rectangle.left; }
std::int32_t HeightOf(const Rectangle& rectangle) { return rectangle.bottom - rectangle.top; }

Rectangle OnChromaGrid(const Rectangle& part) {
    return {part.left & ~1, part.top & ~1, (part.right + 1) & ~1, (part.bottom + 1) & ~1};
}

Rectangle SizeOnly(std::uint32_t width, std::uint32_t height) {
    return {0, 0, static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)};
}

std::uint8_t CodeOfLevel(float level) {
    return static_cast<std::uint8_t>(std::clamp(std::lround(level * 256.0F), 0L, 255L));
}

/// Only black bars are supported.
bool HasBlackBackground(const ScalerState& state) {
    return CodeOfLevel(state.backgroundY) == blackLuma && CodeOfLevel(state.backgroundCb) == blackChroma &&
           CodeOfLevel(state.backgroundCr) == blackChroma;
}

bool Usable(const ScalerFormat& format, const ScalerState& state) {
    const Rectangle source = SizeOnly(format.sourceWidth, format.sourceHeight);
    const Rectangle frame = SizeOnly(format.outputWidth, format.outputHeight);
    return Intersection(state.source, source) == state.source && !state.source.IsEmpty() &&
           Intersection(state.destination, frame) == state.destination && !state.destination.IsEmpty() &&
           state.target == frame && state.streamColorSpace == fullRangeRgb && state.outputColorSpace == limitedBt709 &&
           HasBlackBackground(state);
}

/// The position of a destination pixel's centre in the source.
RowTap TapAt(std::int32_t position, std::int32_t destinationSize, std::int32_t sourceSize) {
    const double center = (position + 0.5) * sourceSize / destinationSize - 0.5;
    const double inside = std::clamp(center, 0.0, sourceSize - 1.0);
    const double index = std::floor(inside);
    const auto weight = static_cast<std::int32_t>(std::lround((inside - index) * 32768.0));
    return {static_cast<std::uint32_t>(index), static_cast<std::int16_t>(std::min(weight, 32767))};
}

void PrepareResampling(VideoScaler& scaler) {
    const ScalerState& state = scaler.state;
    const auto width = static_cast<std::size_t>(WidthOf(state.destination));
    scaler.columns.index.resize(width);
    scaler.columns.weight.resize(4 * width);
    for (std::size_t x = 0; x < width; ++x) {
        const RowTap tap = TapAt(static_cast<std::int32_t>(x), WidthOf(state.destination), WidthOf(state.source));
        scaler.columns.index[x] = tap.index;
        std::fill_n(scaler.columns.weight.begin() + static_cast<std::ptrdiff_t>(4 * x), 4, tap.weight);
    }
    scaler.rows.clear();
    for (std::int32_t y = 0; y < HeightOf(state.destination); ++y) {
        scaler.rows.push_back(TapAt(y, HeightOf(state.destination), HeightOf(state.source)));
    }
    // One more pixel: the right neighbour of the last one.
    scaler.blended.assign(4 * (static_cast<std::size_t>(WidthOf(state.source)) + 1), 0);
    for (auto& line : scaler.lines) {
        line.assign(4 * std::size_t{scaler.format.outputWidth}, 0);
    }
    scaler.black.assign(4 * std::size_t{scaler.format.outputWidth}, 0);
}

void FillBackground(Surface& target) {
    std::memset(target.pixels, blackLuma, target.stride * target.height);
    std::memset(target.chroma, blackChroma, target.stride * target.height / 2);
}

struct FrameRows {
    std::uint8_t* lumaTop;
    std::uint8_t* lumaBottom;
    std::uint8_t* chroma;
};

FrameRows RowsAt(Surface& target, std::int32_t x, std::int32_t y) {
    const auto row = static_cast<std::size_t>(y);
    const auto column = static_cast<std::size_t>(x);
    return {target.pixels + row * target.stride + column, target.pixels + (row + 1) * target.stride + column,
            target.chroma + row / 2 * target.stride + column};
}

const std::uint8_t* SourceRow(const VideoScaler& scaler, const Surface& source, std::int32_t y) {
    return source.pixels + static_cast<std::size_t>(scaler.state.source.top + y) * source.stride +
           4 * static_cast<std::size_t>(scaler.state.source.left);
}

/// `part` is a part of the frame, aligned to the chroma grid and inside the destination.
void ConvertDirectly(const VideoScaler& scaler, const Surface& source, Surface& target, const Rectangle& part) {
    const Rectangle& destination = scaler.state.destination;
    const auto offset = 4 * static_cast<std::size_t>(part.left - destination.left);
    for (std::int32_t y = part.top; y < part.bottom; y += 2) {
        const std::uint8_t* top = SourceRow(scaler, source, y - destination.top) + offset;
        const FrameRows rows = RowsAt(target, part.left, y);
        scaler.kernels->convertRows(top, top + source.stride, static_cast<std::size_t>(WidthOf(part)), rows.lumaTop,
                                    rows.lumaBottom, rows.chroma);
    }
}

/// Computes one row of the frame in the columns of `part`, which are inside the destination.
const std::uint8_t* ResampledRow(VideoScaler& scaler, const Surface& source, const Rectangle& part, std::int32_t y,
                                 std::vector<std::uint8_t>& line) {
    const ScalerState& state = scaler.state;
    if (y < state.destination.top || y >= state.destination.bottom) {
        return scaler.black.data();
    }
    const RowTap& tap = scaler.rows[static_cast<std::size_t>(y - state.destination.top)];
    const auto upper = static_cast<std::int32_t>(tap.index);
    const std::int32_t lower = std::min(upper + 1, HeightOf(state.source) - 1);
    const auto first = static_cast<std::size_t>(part.left - state.destination.left);
    const auto last = static_cast<std::size_t>(part.right - state.destination.left);
    const std::size_t from = scaler.columns.index[first];
    const std::size_t to = std::min<std::size_t>(std::size_t{scaler.columns.index[last - 1]} + 2,
                                                 static_cast<std::size_t>(WidthOf(state.source)));
    scaler.kernels->blendRows(SourceRow(scaler, source, upper) + 4 * from, SourceRow(scaler, source, lower) + 4 * from,
                              tap.weight, to - from, scaler.blended.data() + 4 * from);
    scaler.kernels->resampleRow(scaler.blended.data(), scaler.columns, first, last,
                                line.data() + 4 * static_cast<std::size_t>(state.destination.left));
    return line.data();
}

/// `part` is a part of the frame, aligned to the chroma grid.
void Resample(VideoScaler& scaler, const Surface& source, Surface& target, const Rectangle& part) {
    const Rectangle inside = Intersection(part, scaler.state.destination);
    const auto offset = 4 * static_cast<std::size_t>(part.left);
    for (std::int32_t y = part.top; y < part.bottom; y += 2) {
        const std::uint8_t* top = ResampledRow(scaler, source, inside, y, scaler.lines[0]) + offset;
        const std::uint8_t* bottom = ResampledRow(scaler, source, inside, y + 1, scaler.lines[1]) + offset;
        const FrameRows rows = RowsAt(target, part.left, y);
        scaler.kernels->convertRows(top, bottom, static_cast<std::size_t>(WidthOf(part)), rows.lumaTop, rows.lumaBottom,
                                    rows.chroma);
    }
}

struct Range {
    std::int32_t first = 0;
    std::int32_t last = 0;  ///< one past the end
};

/// The destination pixels that depend on the source pixels [`first`, `last`). A destination pixel depends on its source
/// pixel and the next one.
template <class Taps, class Projection>
Range Reached(const Taps& taps, Projection indexOf, std::int32_t first, std::int32_t last) {
    const auto firstAt = [&](std::int32_t source) {
        const auto index = static_cast<std::uint32_t>(std::max(source, 0));
        return static_cast<std::int32_t>(std::ranges::lower_bound(taps, index, {}, indexOf) - taps.begin());
    };
    return {firstAt(first - 1), firstAt(last)};
}

/// The part of the frame that must be converted again if `part` of the source has changed.
Rectangle AffectedPart(const VideoScaler& scaler, const Rectangle& part) {
    const Rectangle& from = scaler.state.source;
    const Rectangle& to = scaler.state.destination;
    const Rectangle inside = Intersection(part, from);
    if (inside.IsEmpty()) {
        return {};
    }
    const Rectangle moved{inside.left - from.left, inside.top - from.top, inside.right - from.left,
                          inside.bottom - from.top};
    if (scaler.direct) {
        return OnChromaGrid({moved.left + to.left, moved.top + to.top, moved.right + to.left, moved.bottom + to.top});
    }
    const Range across = Reached(scaler.columns.index, std::identity{}, moved.left, moved.right);
    const Range down = Reached(scaler.rows, &RowTap::index, moved.top, moved.bottom);
    return OnChromaGrid({to.left + across.first, to.top + down.first, to.left + across.last, to.top + down.last});
}

void ConvertPart(VideoScaler& scaler, const Surface& source, Surface& target, const Rectangle& part) {
    if (part.IsEmpty()) {
        return;
    }
    if (scaler.direct) {
        ConvertDirectly(scaler, source, target, part);
    } else {
        Resample(scaler, source, target, part);
    }
    target.changed.Add(part);
}

}  // namespace

template <>
void Closer<VideoProcessing>::operator()(VideoProcessing* processing) const noexcept {
    delete processing;
}
template <>
void Closer<VideoScaler>::operator()(VideoScaler* scaler) const noexcept {
    delete scaler;
}
template <>
void Closer<ScalerViews>::operator()(ScalerViews* views) const noexcept {
    delete views;
}

Result OpenVideoProcessing(GraphicsDevice&, Owned<VideoProcessing>& processing) {
    processing.reset(new VideoProcessing);
    return resultOk;
}

Result MakeVideoScaler(VideoProcessing&, const ScalerFormat& format, Owned<VideoScaler>& scaler) {
    if (format.sourceWidth == 0 || format.sourceHeight == 0 || format.outputWidth == 0 || format.outputHeight == 0 ||
        format.outputWidth % 2 != 0 || format.outputHeight % 2 != 0) {
        return ResultOfSystemError(EINVAL);
    }
    scaler.reset(new VideoScaler);
    scaler->format = format;
    scaler->kernels = &BestKernels();
    ScalerState whole;
    whole.source = SizeOnly(format.sourceWidth, format.sourceHeight);
    whole.destination = whole.target = SizeOnly(format.outputWidth, format.outputHeight);
    whole.streamColorSpace = fullRangeRgb;
    whole.outputColorSpace = limitedBt709;
    whole.backgroundY = blackLuma / 256.0F;
    whole.backgroundCb = whole.backgroundCr = blackChroma / 256.0F;
    SetScalerState(*scaler, whole);
    return resultOk;
}

Result MakeScalerViews(VideoScaler& scaler, Surface& source, Surface& target, Owned<ScalerViews>& views) {
    const bool fits = source.format == SurfaceFormat::Bgra && source.width == scaler.format.sourceWidth &&
                      source.height == scaler.format.sourceHeight && target.format == SurfaceFormat::Nv12 &&
                      target.width == scaler.format.outputWidth && target.height == scaler.format.outputHeight;
    if (!fits) {
        return ResultOfSystemError(EINVAL);
    }
    views.reset(new ScalerViews{&source, &target});
    scaler.whole = true;
    return resultOk;
}

void SetScalerState(VideoScaler& scaler, const ScalerState& state) {
    scaler.state = state;
    scaler.whole = true;
    scaler.usable = Usable(scaler.format, state);
    if (!scaler.usable) {
        return;
    }
    const Rectangle& to = state.destination;
    scaler.direct =
        WidthOf(state.source) == WidthOf(to) && HeightOf(state.source) == HeightOf(to) && OnChromaGrid(to) == to;
    if (!scaler.direct) {
        PrepareResampling(scaler);
    }
}

Result RunScaler(VideoScaler& scaler, ScalerViews& views, std::uint32_t) {
    if (!scaler.usable) {
        return ResultOfSystemError(EINVAL);
    }
    Surface& source = *views.source;
    Surface& target = *views.target;
    if (scaler.whole) {
        FillBackground(target);
        target.changed.Add(scaler.state.target);
        ConvertPart(scaler, source, target, OnChromaGrid(scaler.state.destination));
        scaler.whole = false;
    } else {
        for (const Rectangle& part : source.changed.Rectangles()) {
            ConvertPart(scaler, source, target, AffectedPart(scaler, part));
        }
    }
    source.changed.Clear();
    return resultOk;
}

}  // namespace zv
