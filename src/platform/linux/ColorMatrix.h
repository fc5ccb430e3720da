// BT.709 in limited range with 15 bits of fraction, from 0.2126, 0.7152 and 0.0722 times 219/255 for luma and
// times 224/255 over 1.8556 and 1.5748 for chroma. The chroma rows sum to zero, so that greys stay grey.
#pragma once

#include <cstdint>

namespace zv::matrix {

inline constexpr std::int32_t lumaRed = 5983;
inline constexpr std::int32_t lumaGreen = 20127;
inline constexpr std::int32_t lumaBlue = 2032;
inline constexpr std::int32_t lumaShift = 15;
inline constexpr std::int32_t lumaBias = (16 << lumaShift) + (1 << (lumaShift - 1));

inline constexpr std::int32_t cbRed = -3298;
inline constexpr std::int32_t cbGreen = -11094;
inline constexpr std::int32_t cbBlue = 14392;
inline constexpr std::int32_t crRed = 14392;
inline constexpr std::int32_t crGreen = -13072;
inline constexpr std::int32_t crBlue = -1320;
inline constexpr std::int32_t chromaShift = 17;  ///< of the sum of four pixels
inline constexpr std::int32_t chromaBias = (128 << chromaShift) + (1 << (chromaShift - 1));

}  // namespace zv::matrix
