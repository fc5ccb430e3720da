#include "platform/software/PaintedParts.h"

#include <algorithm>
#include <cstddef>
#include <span>

namespace zv {
namespace {

std::span<const std::uint32_t> RowOf(const PixelView& picture, std::int32_t y) {
    const auto width = static_cast<std::size_t>(picture.width);
    return {picture.pixels + static_cast<std::size_t>(y) * width, width};
}

/// Appends the runs of a row that do not have the key colour, as rectangles of one pixel's height.
void AddRuns(std::span<const std::uint32_t> row, std::uint32_t key, std::int32_t y, std::vector<Rectangle>& runs) {
    constexpr std::uint32_t colorBits = 0xFFFFFF;
    const auto isKey = [key](std::uint32_t pixel) { return (pixel & colorBits) == key; };
    auto at = row.begin();
    while (true) {
        const auto first = std::find_if_not(at, row.end(), isKey);
        if (first == row.end()) {
            return;
        }
        at = std::find_if(first, row.end(), isKey);
        runs.push_back(
            {static_cast<std::int32_t>(first - row.begin()), y, static_cast<std::int32_t>(at - row.begin()), y + 1});
    }
}

bool SameColumns(std::span<const Rectangle> a, std::span<const Rectangle> b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const Rectangle& one, const Rectangle& two) {
        return one.left == two.left && one.right == two.right;
    });
}

}  // namespace

std::vector<Rectangle> PaintedParts(const PixelView& picture, std::uint32_t key) {
    std::vector<Rectangle> parts;
    std::size_t bandStart = 0;
    for (std::int32_t y = 0; y < picture.height; ++y) {
        const std::size_t rowStart = parts.size();
        AddRuns(RowOf(picture, y), key, y, parts);
        const std::span<Rectangle> all(parts);
        const auto band = all.subspan(bandStart, rowStart - bandStart);
        if (!band.empty() && band[0].bottom == y && SameColumns(band, all.subspan(rowStart))) {
            for (Rectangle& run : band) {
                ++run.bottom;
            }
            parts.resize(rowStart);
        } else {
            bandStart = rowStart;
        }
    }
    return parts;
}

}  // namespace zv
