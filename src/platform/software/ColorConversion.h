// The arithmetic between the desktop's pixels and the encoder's: BGRA to NV12 and bilinear resampling, row by row.
//
// Full-range RGB is converted to BT.709 in limited range, exact to half a code value. A chroma sample is the mean of
// the four pixels that it covers. All sets of kernels produce the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zv {

inline constexpr int blendedBits = 6;  ///< fraction bits of a blended row

/// The source of each pixel of a resampled row: the pixel at `index`, blended with its right neighbour.
struct ColumnTaps {
    std::vector<std::uint32_t> index;
    std::vector<std::int16_t> weight;  ///< of the neighbour, in 32768ths; each pixel has four equal entries
};

struct ConversionKernels {
    /// Converts two rows of `pixels` (even) pixels to two rows of luma and one of chroma.
    void (*convertRows)(const std::uint8_t* top, const std::uint8_t* bottom, std::size_t pixels, std::uint8_t* lumaTop,
                        std::uint8_t* lumaBottom, std::uint8_t* chroma);

    /// Computes top + (bottom - top) * weight / 32768 with `blendedBits` bits of fraction, four values a pixel.
    void (*blendRows)(const std::uint8_t* top, const std::uint8_t* bottom, std::int16_t weight, std::size_t pixels,
                      std::int16_t* blended);

    /// Computes the pixels [`first`, `last`) of a resampled row. `blended` has one pixel beyond the last index.
    void (*resampleRow)(const std::int16_t* blended, const ColumnTaps& taps, std::size_t first, std::size_t last,
                        std::uint8_t* pixels);
};

const ConversionKernels& PlainKernels();

/// Returns null if the processor has no AVX2.
const ConversionKernels* Avx2Kernels();

/// Returns null if the processor has no AVX-512 with multiply-and-add of 16-bit pairs.
const ConversionKernels* Avx512Kernels();

/// The fastest set that the processor supports.
const ConversionKernels& BestKernels();

}  // namespace zv
