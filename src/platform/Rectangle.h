// A rectangle of whole pixels: left and top belong to it, right and bottom do not.
#pragma once

#include <cstdint>

namespace zv {

struct Rectangle {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;
    bool operator==(const Rectangle&) const = default;

    std::int32_t Width() const { return right - left; }
    std::int32_t Height() const { return bottom - top; }
};

struct Point {
    std::int32_t x = 0;
    std::int32_t y = 0;
    bool operator==(const Point&) const = default;
};

}  // namespace zv
