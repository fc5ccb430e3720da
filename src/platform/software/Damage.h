// The parts of a picture that changed: up to 16 rectangles; more are merged into their bounding box. Allocates nothing.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/Rectangle.h"

namespace zv {

class Damage {
public:
    static constexpr std::size_t most = 16;

    void Add(const Rectangle& rectangle) {
        if (rectangle.IsEmpty()) {
            return;
        }
        if (Holds(rectangle)) {
            return;
        }
        if (count_ < most) {
            rectangles_[count_++] = rectangle;
            return;
        }
        for (const Rectangle& known : Rectangles()) {
            rectangles_[0] = BoundingBox(rectangles_[0], known);
        }
        rectangles_[0] = BoundingBox(rectangles_[0], rectangle);
        count_ = 1;
    }
    void Add(const Damage& other) {
        for (const Rectangle& rectangle : other.Rectangles()) {
            Add(rectangle);
        }
    }
    void Clear() { count_ = 0; }
    bool Empty() const { return count_ == 0; }
    /// Returns true if one of the parts contains the whole rectangle.
    bool Holds(const Rectangle& rectangle) const {
        return std::any_of(rectangles_.begin(), rectangles_.begin() + static_cast<std::ptrdiff_t>(count_),
                           [&](const Rectangle& known) { return Intersection(known, rectangle) == rectangle; });
    }
    std::span<const Rectangle> Rectangles() const { return {rectangles_.data(), count_}; }

private:
    std::array<Rectangle, most> rectangles_;
    std::size_t count_ = 0;
};

}  // namespace zv
