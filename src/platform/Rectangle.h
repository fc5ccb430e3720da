// Points and rectangles of whole pixels. A rectangle includes its left column and top row, and excludes its right
// column and bottom row.
#pragma once

#include <algorithm>
#include <cstdint>

namespace zv {

struct Point {
    std::int32_t x = 0;
    std::int32_t y = 0;
    bool operator==(const Point&) const = default;
};

struct Rectangle {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;
    bool operator==(const Rectangle&) const = default;

    std::int32_t Width() const { return right - left; }
    std::int32_t Height() const { return bottom - top; }
    bool IsEmpty() const { return left >= right || top >= bottom; }
    /// 0 if it is empty.
    std::int64_t Area() const { return IsEmpty() ? 0 : std::int64_t{Width()} * Height(); }
    bool Contains(Point point) const {
        return point.x >= left && point.x < right && point.y >= top && point.y < bottom;
    }
};

/// Returns an empty rectangle if they have no pixel in common.
inline Rectangle Intersection(const Rectangle& a, const Rectangle& b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right), std::min(a.bottom, b.bottom)};
}

/// The smallest rectangle that contains both. Neither may be empty.
inline Rectangle BoundingBox(const Rectangle& a, const Rectangle& b) {
    return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right), std::max(a.bottom, b.bottom)};
}

}  // namespace zv
