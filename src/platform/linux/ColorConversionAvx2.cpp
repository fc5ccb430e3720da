// The kernels with AVX2: 32 pixels, 16 values and 8 pixels at a time; what is left of a row goes to the plain ones.
// The multiplications are the same, so the bytes are.
#include "platform/linux/ColorConversion.h"
#include "platform/linux/ColorMatrix.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace zv {

#if defined(__x86_64__)
namespace {

#define ZV_AVX2 __attribute__((target("avx2")))

ZV_AVX2 inline __m256i Load(const void* place) { return _mm256_loadu_si256(static_cast<const __m256i*>(place)); }
ZV_AVX2 inline void Store(void* place, __m256i value) { _mm256_storeu_si256(static_cast<__m256i*>(place), value); }
ZV_AVX2 inline __m128i LoadHalf(const void* place) { return _mm_loadu_si128(static_cast<const __m128i*>(place)); }

/// Two coefficients as a pair of 16-bit values, the first one in the low half.
ZV_AVX2 inline __m256i Pair(std::int32_t low, std::int32_t high) {
    return _mm256_set1_epi32(static_cast<std::int32_t>((static_cast<std::uint32_t>(high) << 16U) |
                                                       (static_cast<std::uint32_t>(low) & 0xFFFFU)));
}

/// Blue and red of 8 pixels as 16-bit pairs; green and alpha likewise.
ZV_AVX2 inline __m256i BlueRed(__m256i pixels) { return _mm256_and_si256(pixels, _mm256_set1_epi16(0xFF)); }
ZV_AVX2 inline __m256i GreenAlpha(__m256i pixels) { return _mm256_srli_epi16(pixels, 8); }

/// The order in which two rounds of packing leave groups of four bytes, undone.
ZV_AVX2 inline __m256i Unshuffle(__m256i packed) {
    return _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

ZV_AVX2 inline __m256i Luma8(__m256i pixels) {
    const __m256i sum = _mm256_add_epi32(_mm256_madd_epi16(BlueRed(pixels), Pair(matrix::lumaBlue, matrix::lumaRed)),
                                         _mm256_madd_epi16(GreenAlpha(pixels), Pair(matrix::lumaGreen, 0)));
    return _mm256_srli_epi32(_mm256_add_epi32(sum, _mm256_set1_epi32(matrix::lumaBias)), matrix::lumaShift);
}

ZV_AVX2 inline void Luma32(const __m256i (&pixels)[4], std::uint8_t* luma) {
    const __m256i low = _mm256_packs_epi32(Luma8(pixels[0]), Luma8(pixels[1]));
    const __m256i high = _mm256_packs_epi32(Luma8(pixels[2]), Luma8(pixels[3]));
    Store(luma, Unshuffle(_mm256_packus_epi16(low, high)));
}

/// Eight chroma samples as 16-bit pairs of Cb and Cr, from the sums of their four pixels.
ZV_AVX2 inline __m256i Chroma8(__m256i blueRed, __m256i greenAlpha) {
    const __m256i bias = _mm256_set1_epi32(matrix::chromaBias);
    const __m256i cb = _mm256_add_epi32(_mm256_madd_epi16(blueRed, Pair(matrix::cbBlue, matrix::cbRed)),
                                        _mm256_madd_epi16(greenAlpha, Pair(matrix::cbGreen, 0)));
    const __m256i cr = _mm256_add_epi32(_mm256_madd_epi16(blueRed, Pair(matrix::crBlue, matrix::crRed)),
                                        _mm256_madd_epi16(greenAlpha, Pair(matrix::crGreen, 0)));
    const __m256i low = _mm256_srli_epi32(_mm256_add_epi32(cb, bias), matrix::chromaShift);
    const __m256i high = _mm256_srli_epi32(_mm256_add_epi32(cr, bias), matrix::chromaShift);
    return _mm256_or_si256(low, _mm256_slli_epi32(high, 16));
}

/// Samples of two times eight pixels in two rows. A sum of four bytes leaves the 16-bit halves apart.
ZV_AVX2 inline __m256i ChromaOf(__m256i top0, __m256i top1, __m256i bottom0, __m256i bottom1) {
    const __m256i blueRed = _mm256_hadd_epi32(_mm256_add_epi16(BlueRed(top0), BlueRed(bottom0)),
                                              _mm256_add_epi16(BlueRed(top1), BlueRed(bottom1)));
    const __m256i greenAlpha = _mm256_hadd_epi32(_mm256_add_epi16(GreenAlpha(top0), GreenAlpha(bottom0)),
                                                 _mm256_add_epi16(GreenAlpha(top1), GreenAlpha(bottom1)));
    return Chroma8(blueRed, greenAlpha);
}

ZV_AVX2 void ConvertRows(const std::uint8_t* top, const std::uint8_t* bottom, std::size_t pixels, std::uint8_t* lumaTop,
                         std::uint8_t* lumaBottom, std::uint8_t* chroma) {
    std::size_t x = 0;
    for (; x + 32 <= pixels; x += 32) {
        const std::uint8_t* a = top + 4 * x;
        const std::uint8_t* b = bottom + 4 * x;
        const __m256i upper[4] = {Load(a), Load(a + 32), Load(a + 64), Load(a + 96)};
        const __m256i lower[4] = {Load(b), Load(b + 32), Load(b + 64), Load(b + 96)};
        Luma32(upper, lumaTop + x);
        Luma32(lower, lumaBottom + x);
        const __m256i low = ChromaOf(upper[0], upper[1], lower[0], lower[1]);
        const __m256i high = ChromaOf(upper[2], upper[3], lower[2], lower[3]);
        Store(chroma + x, Unshuffle(_mm256_packus_epi16(low, high)));
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
