// The conversion with AVX-512, 64 columns of two rows at a time, in the steps of the AVX2 kernel; that kernel also
// converts the rest of a row and resamples. Both perform the same multiplications and produce the same bytes.
#include "platform/software/ColorConversion.h"
#include "platform/software/ColorMatrix.h"

#if defined(__x86_64__)
// GCC 12 warns about registers that its own header leaves undefined on purpose.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#include <immintrin.h>
#endif

namespace zv {

#if defined(__x86_64__)
namespace {

#define ZV_AVX512 __attribute__((target("avx512f,avx512bw,avx512vnni")))

/// Two coefficients as a pair of 16-bit values, the first one in the low half.
ZV_AVX512 inline __m512i Pair(std::int32_t low, std::int32_t high) {
    return _mm512_set1_epi32(static_cast<std::int32_t>((static_cast<std::uint32_t>(high) << 16U) |
                                                       (static_cast<std::uint32_t>(low) & 0xFFFFU)));
}

/// The channels of sixteen pixels: blue and red as 16-bit pairs, and green twice.
struct Channels {
    __m512i blueRed;
    __m512i green;
};

ZV_AVX512 inline Channels Split(__m512i pixels) {
    const __m512i twiceGreen =
        _mm512_broadcast_i32x4(_mm_setr_epi8(1, -1, 1, -1, 5, -1, 5, -1, 9, -1, 9, -1, 13, -1, 13, -1));
    return {_mm512_and_si512(pixels, _mm512_set1_epi16(0xFF)), _mm512_shuffle_epi8(pixels, twiceGreen)};
}

ZV_AVX512 inline Channels Sum(const Channels& a, const Channels& b) {
    return {_mm512_add_epi16(a.blueRed, b.blueRed), _mm512_add_epi16(a.green, b.green)};
}

/// Thirty-two pixels, separated into even and odd columns.
struct Columns {
    Channels even;
    Channels odd;
};

ZV_AVX512 inline Columns LoadColumns(const std::uint8_t* pixels) {
    const __m512 first = _mm512_castsi512_ps(_mm512_loadu_si512(pixels));
    const __m512 second = _mm512_castsi512_ps(_mm512_loadu_si512(pixels + 64));
    return {Split(_mm512_castps_si512(_mm512_shuffle_ps(first, second, _MM_SHUFFLE(2, 0, 2, 0)))),
            Split(_mm512_castps_si512(_mm512_shuffle_ps(first, second, _MM_SHUFFLE(3, 1, 3, 1))))};
}

/// The upper halves of both, interleaved.
ZV_AVX512 inline __m512i Interleave(__m512i first, __m512i second) {
    return _mm512_mask_blend_epi16(0xAAAAAAAAU, _mm512_srli_epi32(first, matrix::shift), second);
}

ZV_AVX512 inline __m512i Luma16(const Channels& channels) {
    const __m512i blueRed = _mm512_dpwssd_epi32(_mm512_set1_epi32(matrix::lumaBias), channels.blueRed,
                                                Pair(matrix::lumaBlue, matrix::lumaRed));
    return _mm512_dpwssd_epi32(blueRed, channels.green, Pair(matrix::lumaGreenHalf, matrix::lumaGreenHalf));
}

ZV_AVX512 inline __m512i Luma32(const Columns& columns) {
    return Interleave(Luma16(columns.even), Luma16(columns.odd));
}

/// Sixteen samples, Cb and Cr interleaved, from the sums of their four pixels.
ZV_AVX512 inline __m512i Chroma16(const Channels& sums) {
    const __m512i differences = _mm512_sub_epi16(sums.blueRed, sums.green);
    const __m512i bias = _mm512_set1_epi32(matrix::chromaBias);
    return Interleave(_mm512_dpwssd_epi32(bias, differences, Pair(matrix::cbBlue, matrix::cbRed)),
                      _mm512_dpwssd_epi32(bias, differences, Pair(matrix::crBlue, matrix::crRed)));
}

/// Packs to bytes and restores the order of the groups of four, which LoadColumns and packing by lanes have changed.
ZV_AVX512 inline __m512i PackInOrder(__m512i first, __m512i second) {
    return _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15),
                                    _mm512_packus_epi16(first, second));
}

/// Writes the luma of 32 columns of two rows and returns their chroma.
ZV_AVX512 inline __m512i Convert32(const std::uint8_t* top, const std::uint8_t* bottom, std::uint8_t* lumaTop,
                                   std::uint8_t* lumaBottom) {
    const Columns upper = LoadColumns(top);
    const Columns lower = LoadColumns(bottom);
    const __m512i luma = PackInOrder(Luma32(upper), Luma32(lower));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(lumaTop), _mm512_castsi512_si256(luma));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(lumaBottom), _mm512_extracti64x4_epi64(luma, 1));
    return Chroma16(Sum(Sum(upper.even, upper.odd), Sum(lower.even, lower.odd)));
}

ZV_AVX512 void ConvertRows(const std::uint8_t* top, const std::uint8_t* bottom, std::size_t pixels,
                           std::uint8_t* lumaTop, std::uint8_t* lumaBottom, std::uint8_t* chroma) {
    std::size_t x = 0;
    for (; x + 64 <= pixels; x += 64) {
        const std::uint8_t* a = top + 4 * x;
        const std::uint8_t* b = bottom + 4 * x;
        const __m512i left = Convert32(a, b, lumaTop + x, lumaBottom + x);
        const __m512i right = Convert32(a + 128, b + 128, lumaTop + x + 32, lumaBottom + x + 32);
        _mm512_storeu_si512(chroma + x, PackInOrder(left, right));
    }
    Avx2Kernels()->convertRows(top + 4 * x, bottom + 4 * x, pixels - x, lumaTop + x, lumaBottom + x, chroma + x);
}

}  // namespace

const ConversionKernels* Avx512Kernels() {
    const ConversionKernels* narrow = Avx2Kernels();
    const bool suits = narrow != nullptr && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                       __builtin_cpu_supports("avx512vnni");
    if (!suits) {
        return nullptr;
    }
    static const ConversionKernels kernels{ConvertRows, narrow->blendRows, narrow->resampleRow};
    return &kernels;
}
#else
const ConversionKernels* Avx512Kernels() { return nullptr; }
#endif

}  // namespace zv
