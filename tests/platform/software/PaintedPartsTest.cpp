#include "platform/software/PaintedParts.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace zv {
namespace {

constexpr std::uint32_t key = 0x010203;
constexpr std::uint32_t red = 0xC03020;

/// '.' is a pixel of the key colour. The highest byte of a pixel has no meaning.
std::vector<Rectangle> PartsOf(const std::vector<std::string>& rows) {
    std::vector<std::uint32_t> pixels;
    for (const std::string& row : rows) {
        for (const char letter : row) {
            pixels.push_back((letter == '.' ? key : red) | (pixels.size() % 2 == 0 ? 0xFF000000 : 0));
        }
    }
    const auto width = rows.empty() ? 0 : rows[0].size();
    return PaintedParts({pixels.data(), static_cast<std::int32_t>(width), static_cast<std::int32_t>(rows.size())}, key);
}

using Parts = std::vector<Rectangle>;

TEST(PaintedParts, AreTheRunsOfARow) {
    EXPECT_EQ(PartsOf({"x..xx.x"}), (Parts{{0, 0, 1, 1}, {3, 0, 5, 1}, {6, 0, 7, 1}}));
    EXPECT_EQ(PartsOf({".x."}), (Parts{{1, 0, 2, 1}}));
    EXPECT_EQ(PartsOf({"xxx"}), (Parts{{0, 0, 3, 1}}));
}

TEST(PaintedParts, EqualRowsFormOneBand) {
    EXPECT_EQ(PartsOf({"xx.x", "xx.x", "xx.x"}), (Parts{{0, 0, 2, 3}, {3, 0, 4, 3}}));
}

TEST(PaintedParts, EveryOtherRowBeginsABand) {
    EXPECT_EQ(PartsOf({"xxxx", "x..x", "x..x", "xxxx"}),
              (Parts{{0, 0, 4, 1}, {0, 1, 1, 3}, {3, 1, 4, 3}, {0, 3, 4, 4}}));
    EXPECT_EQ(PartsOf({"x.", ".x"}), (Parts{{0, 0, 1, 1}, {1, 1, 2, 2}}));
    EXPECT_EQ(PartsOf({"x.x", "x.."}), (Parts{{0, 0, 1, 1}, {2, 0, 3, 1}, {0, 1, 1, 2}}));
}

TEST(PaintedParts, AnEmptyRowSeparatesEqualBands) {
    EXPECT_EQ(PartsOf({"..", "x.", "..", "x.", ".."}), (Parts{{0, 1, 1, 2}, {0, 3, 1, 4}}));
}

TEST(PaintedParts, AreNoneWithoutPaintedPixels) {
    EXPECT_EQ(PartsOf({"..", ".."}), Parts{});
    EXPECT_EQ(PartsOf({}), Parts{});
}

TEST(PaintedParts, ContainEveryPaintedPixelOnceAndNoOther) {
    std::mt19937 random(5);
    std::vector<std::string> rows(40, std::string(70, '.'));
    for (std::string& row : rows) {
        for (char& letter : row) {
            letter = random() % 3 == 0 ? 'x' : '.';
        }
    }
    std::vector<std::string> filled(rows.size(), std::string(rows[0].size(), '.'));
    for (const Rectangle& part : PartsOf(rows)) {
        for (std::int32_t y = part.top; y < part.bottom; ++y) {
            for (std::int32_t x = part.left; x < part.right; ++x) {
                char& letter = filled[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
                EXPECT_EQ(letter, '.') << x << " " << y << " twice";
                letter = 'x';
            }
        }
    }
    EXPECT_EQ(filled, rows);
}

}  // namespace
}  // namespace zv
