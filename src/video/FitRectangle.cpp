#include "video/FitRectangle.h"

#include <algorithm>

namespace zv {
namespace {

// Chroma is stored at half resolution, so an odd side would cut a sample in two.
std::int32_t EvenPart(double length) { return static_cast<std::int32_t>(length) & ~1; }

}  // namespace

Rectangle FitRectangle(PixelSize source, PixelSize frame) {
    const double scale =
        std::min(static_cast<double>(frame.width) / source.width, static_cast<double>(frame.height) / source.height);
    const std::int32_t width = EvenPart(source.width * scale);
    const std::int32_t height = EvenPart(source.height * scale);
    return {(frame.width - width) / 2, (frame.height - height) / 2, (width + frame.width) / 2,
            (height + frame.height) / 2};
}

}  // namespace zv
