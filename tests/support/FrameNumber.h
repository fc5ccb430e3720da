// A number painted into a picture so that it survives scaling and lossy encoding.
//
// A block of 8 columns and 6 rows near the upper left corner: a row of fixed marker cells, four rows of the
// number's 32 bits (highest first) and a row of check bits. A cell is black or white and a fortieth of the picture
// wide and a twenty-fourth of it high. A picture in which two numbers are mixed reads as no number.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace zv::support {

inline constexpr int frameNumberColumns = 8;
inline constexpr int frameNumberRows = 6;
inline constexpr int frameNumberCells = frameNumberColumns * frameNumberRows;
inline constexpr std::uint8_t frameNumberMarker = 0b10110010;

struct Box {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
};

/// The bounds of the block with its margin, and of one cell, in a picture of that size.
inline Box FrameNumberBox(int width, int height) { return {0, 0, width * 10 / 40, height * 8 / 24}; }
inline Box FrameNumberCell(int index, int width, int height) {
    const int column = 1 + index % frameNumberColumns;
    const int row = 1 + index / frameNumberColumns;
    return {width * column / 40, height * row / 24, width * (column + 1) / 40, height * (row + 1) / 24};
}

/// One bit for each cell, true is white.
inline std::array<bool, frameNumberCells> FrameNumberBits(std::uint32_t number) {
    std::array<std::uint8_t, frameNumberRows> rows{frameNumberMarker};
    std::uint8_t check = 0x5A;
    for (std::size_t row = 1; row <= 4; ++row) {
        rows[row] = static_cast<std::uint8_t>(number >> (32 - 8 * row));
        check = static_cast<std::uint8_t>((check * 31U) ^ rows[row]);
    }
    rows[5] = check;
    std::array<bool, frameNumberCells> bits{};
    for (std::size_t index = 0; index < bits.size(); ++index) {
        bits[index] = ((rows[index / 8] >> (7 - index % 8)) & 1U) != 0;
    }
    return bits;
}

/// Paints the block, black margin included, into 32-bit pixels of `stride` pixels a row.
inline void PaintFrameNumber(std::uint32_t number, std::uint32_t* pixels, std::size_t stride, int width, int height) {
    const auto fill = [&](const Box& box, std::uint32_t color) {
        for (int y = box.top; y < box.bottom; ++y) {
            for (int x = box.left; x < box.right; ++x) {
                pixels[static_cast<std::size_t>(y) * stride + static_cast<std::size_t>(x)] = color;
            }
        }
    };
    fill(FrameNumberBox(width, height), 0xFF000000U);
    const auto bits = FrameNumberBits(number);
    for (int index = 0; index < frameNumberCells; ++index) {
        if (bits[static_cast<std::size_t>(index)]) {
            fill(FrameNumberCell(index, width, height), 0xFFFFFFFFU);
        }
    }
}

/// The mean luma of a cell's inner half.
inline int MeanOfCell(std::span<const std::uint8_t> luma, std::size_t stride, const Box& cell) {
    const int marginX = (cell.right - cell.left) / 4;
    const int marginY = (cell.bottom - cell.top) / 4;
    int sum = 0;
    int count = 0;
    for (int y = cell.top + marginY; y < cell.bottom - marginY; ++y) {
        for (int x = cell.left + marginX; x < cell.right - marginX; ++x) {
            sum += luma[static_cast<std::size_t>(y) * stride + static_cast<std::size_t>(x)];
            ++count;
        }
    }
    return count == 0 ? 128 : sum / count;
}

/// The number in the part `picture` of a frame with `stride` bytes of luma in each row. Empty if unreadable.
inline std::optional<std::uint32_t> ReadFrameNumber(std::span<const std::uint8_t> luma, std::size_t stride,
                                                    const Box& picture) {
    const int width = picture.right - picture.left;
    const int height = picture.bottom - picture.top;
    std::array<bool, frameNumberCells> bits{};
    for (int index = 0; index < frameNumberCells; ++index) {
        Box cell = FrameNumberCell(index, width, height);
        cell.left += picture.left;
        cell.right += picture.left;
        cell.top += picture.top;
        cell.bottom += picture.top;
        const int mean = MeanOfCell(luma, stride, cell);
        if (mean > 80 && mean < 170) {
            return std::nullopt;
        }
        bits[static_cast<std::size_t>(index)] = mean >= 128;
    }
    std::uint32_t number = 0;
    for (std::size_t index = 8; index < 40; ++index) {
        number = number << 1U | (bits[index] ? 1U : 0U);
    }
    return bits == FrameNumberBits(number) ? std::optional(number) : std::nullopt;
}

/// The same for a picture that fills a frame without padding.
inline std::optional<std::uint32_t> ReadFrameNumber(std::span<const std::uint8_t> luma, int width, int height) {
    return ReadFrameNumber(luma, static_cast<std::size_t>(width), Box{0, 0, width, height});
}

}  // namespace zv::support
