// The kernels with AVX2: 32 columns of two rows, 16 values and 8 pixels at a time; the plain ones convert the rest of
// a row. Both perform the same multiplications and produce the same bytes.
#include "platform/software/ColorConversion.h"
#include "platform/software/ColorMatrix.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace zv {

#if defined(__x86_64__)
namespace {

#define ZV_AVX2 __attribute__((target("avx2")))

ZV_AVX2 inline __m256i Load(const void* address) { return _mm256_loadu_si256(static_cast<const __m256i*>(address)); }
ZV_AVX2 inline void Store(void* address, __m256i value) { _mm256_storeu_si256(static_cast<__m256i*>(address), value); }
ZV_AVX2 inline void StoreHalf(void* address, __m128i value) { _mm_storeu_si128(static_cast<__m128i*>(address), value); }
ZV_AVX2 inline __m128i LoadHalf(const void* address) { return _mm_loadu_si128(static_cast<const __m128i*>(address)); }

/// Two coefficients as a pair of 16-bit values, the first one in the low half.
ZV_AVX2 inline __m256i Pair(std::int32_t low, std::int32_t high) {
    return _mm256_set1_epi32(static_cast<std::int32_t>((static_cast<std::uint32_t>(high) << 16U) |
                                                       (static_cast<std::uint32_t>(low) & 0xFFFFU)));
}

/// The channels of eight pixels: blue and red as 16-bit pairs, and green twice.
struct Channels {
    __m256i blueRed;
    __m256i green;
};

ZV_AVX2 inline Channels Split(__m256i pixels) {
    const __m256i twiceGreen =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(1, -1, 1, -1, 5, -1, 5, -1, 9, -1, 9, -1, 13, -1, 13, -1));
    return {_mm256_and_si256(pixels, _mm256_set1_epi16(0xFF)), _mm256_shuffle_epi8(pixels, twiceGreen)};
}

ZV_AVX2 inline Channels Sum(const Channels& a, const Channels& b) {
    return {_mm256_add_epi16(a.blueRed, b.blueRed), _mm256_add_epi16(a.green, b.green)};
}

/// Sixteen pixels, separated into even and odd columns.
struct Columns {
    Channels even;
    Channels odd;
};

ZV_AVX2 inline Columns LoadColumns(const std::uint8_t* pixels) {
    const __m256 first = _mm256_castsi256_ps(Load(pixels));
    const __m256 second = _mm256_castsi256_ps(Load(pixels + 32));
    return {Split(_mm256_castps_si256(_mm256_shuffle_ps(first, second, _MM_SHUFFLE(2, 0, 2, 0)))),
            Split(_mm256_castps_si256(_mm256_shuffle_ps(first, second, _MM_SHUFFLE(3, 1, 3, 1))))};
}

/// The upper halves of both, interleaved.
ZV_AVX2 inline __m256i Interleave(__m256i first, __m256i second) {
    return _mm256_blend_epi16(_mm256_srli_epi32(first, matrix::shift), second, 0xAA);
}

ZV_AVX2 inline __m256i Luma8(const Channels& channels) {
    const __m256i blueRed = _mm256_madd_epi16(channels.blueRed, Pair(matrix::lumaBlue, matrix::lumaRed));
    const __m256i green = _mm256_madd_epi16(channels.green, Pair(matrix::lumaGreenHalf, matrix::lumaGreenHalf));
    return _mm256_add_epi32(_mm256_add_epi32(blueRed, green), _mm256_set1_epi32(matrix::lumaBias));
}

ZV_AVX2 inline __m256i Luma16(const Columns& columns) { return Interleave(Luma8(columns.even), Luma8(columns.odd)); }

/// Eight samples, Cb and Cr interleaved, from the sums of their four pixels. Since the coefficients sum to zero, those
/// of blue and red suffice for the differences from green.
ZV_AVX2 inline __m256i Chroma8(const Channels& sums) {
    const __m256i differences = _mm256_sub_epi16(sums.blueRed, sums.green);
    const __m256i bias = _mm256_set1_epi32(matrix::chromaBias);
    const __m256i cb = _mm256_madd_epi16(differences, Pair(matrix::cbBlue, matrix::cbRed));
    const __m256i cr = _mm256_madd_epi16(differences, Pair(matrix::crBlue, matrix::crRed));
    return Interleave(_mm256_add_epi32(cb, bias), _mm256_add_epi32(cr, bias));
}

/// Packs to bytes and restores the order of the groups of four, which LoadColumns and packing by lanes have changed.
ZV_AVX2 inline __m256i PackInOrder(__m256i first, __m256i second) {
    return _mm256_permutevar8x32_epi32(_mm256_packus_epi16(first, second), _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

/// Writes the luma of 16 columns of two rows and returns their chroma.
ZV_AVX2 inline __m256i Convert16(const std::uint8_t* top, const std::uint8_t* bottom, std::uint8_t* lumaTop,
                                 std::uint8_t* lumaBottom) {
    const Columns upper = LoadColumns(top);
    const Columns lower = LoadColumns(bottom);
    const __m256i luma = PackInOrder(Luma16(upper), Luma16(lower));
    StoreHalf(lumaTop, _mm256_castsi256_si128(luma));
    StoreHalf(lumaBottom, _mm256_extracti128_si256(luma, 1));
    return Chroma8(Sum(Sum(upper.even, upper.odd), Sum(lower.even, lower.odd)));
}

ZV_AVX2 void ConvertRows(const std::uint8_t* top, const std::uint8_t* bottom, std::size_t pixels, std::uint8_t* lumaTop,
                         std::uint8_t* lumaBottom, std::uint8_t* chroma) {
    std::size_t x = 0;
    for (; x + 32 <= pixels; x += 32) {
        const std::uint8_t* a = top + 4 * x;
        const std::uint8_t* b = bottom + 4 * x;
        const __m256i left = Convert16(a, b, lumaTop + x, lumaBottom + x);
        const __m256i right = Convert16(a + 64, b + 64, lumaTop + x + 16, lumaBottom + x + 16);
        Store(chroma + x, PackInOrder(left, right));
    }
    PlainKernels().convertRows(top + 4 * x, bottom + 4 * x, pixels - x, lumaTop + x, lumaBottom + x, chroma + x);
}

ZV_AVX2 void BlendRows(const std::uint8_t* top, const std::uint8_t* bottom, std::int16_t weight, std::size_t pixels,
                       std::int16_t* blended) {
    const __m256i weights = _mm256_set1_epi16(weight);
    std::size_t x = 0;
    for (; x + 4 <= pixels; x += 4) {
        const __m256i from = _mm256_slli_epi16(_mm256_cvtepu8_epi16(LoadHalf(top + 4 * x)), blendedBits);
        const __m256i to = _mm256_slli_epi16(_mm256_cvtepu8_epi16(LoadHalf(bottom + 4 * x)), blendedBits);
        Store(blended + 4 * x, _mm256_add_epi16(from, _mm256_mulhrs_epi16(_mm256_sub_epi16(to, from), weights)));
    }
    PlainKernels().blendRows(top + 4 * x, bottom + 4 * x, weight, pixels - x, blended + 4 * x);
}

/// Four pixels of a resampled row, as 16-bit values without fraction.
ZV_AVX2 inline __m256i Resample4(const std::int16_t* blended, const std::uint32_t* index, const std::int16_t* weight) {
    const auto at = [blended](std::uint32_t pixel) { return blended + 4 * std::size_t{pixel}; };
    const __m256i even =
        _mm256_inserti128_si256(_mm256_castsi128_si256(LoadHalf(at(index[0]))), LoadHalf(at(index[2])), 1);
    const __m256i odd =
        _mm256_inserti128_si256(_mm256_castsi128_si256(LoadHalf(at(index[1]))), LoadHalf(at(index[3])), 1);
    const __m256i from = _mm256_unpacklo_epi64(even, odd);
    const __m256i to = _mm256_unpackhi_epi64(even, odd);
    const __m256i mixed = _mm256_add_epi16(from, _mm256_mulhrs_epi16(_mm256_sub_epi16(to, from), Load(weight)));
    return _mm256_srli_epi16(_mm256_add_epi16(mixed, _mm256_set1_epi16(1 << (blendedBits - 1))), blendedBits);
}

ZV_AVX2 void ResampleRow(const std::int16_t* blended, const ColumnTaps& taps, std::size_t first, std::size_t last,
                         std::uint8_t* pixels) {
    std::size_t x = first;
    for (; x + 8 <= last; x += 8) {
        const __m256i low = Resample4(blended, &taps.index[x], &taps.weight[4 * x]);
        const __m256i high = Resample4(blended, &taps.index[x + 4], &taps.weight[4 * x + 16]);
        Store(pixels + 4 * x, _mm256_permute4x64_epi64(_mm256_packus_epi16(low, high), _MM_SHUFFLE(3, 1, 2, 0)));
    }
    PlainKernels().resampleRow(blended, taps, x, last, pixels);
}

}  // namespace

const ConversionKernels* Avx2Kernels() {
    static constexpr ConversionKernels kernels{ConvertRows, BlendRows, ResampleRow};
    return __builtin_cpu_supports("avx2") ? &kernels : nullptr;
}
#else
const ConversionKernels* Avx2Kernels() { return nullptr; }
#endif

}  // namespace zv
