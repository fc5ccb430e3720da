// BT.709 in limited range as integers: 0.2126, 0.7152 and 0.0722 times 219/255 for luma with 16 bits of fraction, and
// times 224/255 over 1.8556 and 1.5748 for chroma with 14 bits, since a chroma sample starts from the sum of four
// pixels. Both results lie in the upper half of a 32-bit sum. The chroma rows sum to zero, so that greys stay grey.
#pragma once

#include <cstdint>

namespace zv::matrix {

inline constexpr int shift = 16;

inline constexpr std::int32_t lumaRed = 11966;
inline constexpr std::int32_t lumaGreenHalf =
    20127;  ///< applied twice, because the sum is too large for a signed 16-bit value
inline constexpr std::int32_t lumaBlue = 4064;
inline constexpr std::int32_t lumaBias = (16 << shift) + (1 << (shift - 1));

inline constexpr std::int32_t cbRed = -1649;
inline constexpr std::int32_t cbGreen = -5547;
inline constexpr std::int32_t cbBlue = 7196;
inline constexpr std::int32_t crRed = 7196;
inline constexpr std::int32_t crGreen = -6536;
inline constexpr std::int32_t crBlue = -660;
static_assert(cbRed + cbGreen + cbBlue == 0 && crRed + crGreen + crBlue == 0);
inline constexpr std::int32_t chromaBias = (128 << shift) + (1 << (shift - 1));

}  // namespace zv::matrix
