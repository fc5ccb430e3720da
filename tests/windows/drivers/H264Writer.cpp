// The syntax of ITU-T H.264, clause by clause: 7.3 for the order of the bits, 9.2 for the variable-length codes.
#include "windows/drivers/H264Writer.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace zv::drivers {

class H264Writer::Bits {
public:
    void Put(std::uint32_t value, int count) {
        while (count-- > 0) {
            if (free_ == 0) {
                bytes.push_back(0);
                free_ = 8;
            }
            --free_;
            bytes.back() = static_cast<std::uint8_t>(bytes.back() | (((value >> count) & 1U) << free_));
        }
    }
    void Code(std::string_view code) {
        for (const char digit : code) {
            Put(digit == '1' ? 1U : 0U, 1);
        }
    }
    void Unsigned(std::uint32_t value) {
        int length = 0;
        while (((value + 1) >> (length + 1)) != 0) {
            ++length;
        }
        Put(0, length);
        Put(value + 1, length + 1);
    }
    void Signed(int value) {
        Unsigned(value > 0 ? static_cast<std::uint32_t>(2 * value - 1) : static_cast<std::uint32_t>(-2 * value));
    }
    void Align() { free_ = 0; }  // the bits that are left out are zero
    void Trail() {
        Put(1, 1);
        Align();
    }
    std::vector<std::uint8_t> bytes;

private:
    int free_ = 0;
};

namespace {

constexpr std::uint8_t delimiterHeader = 0x09;
constexpr std::uint8_t sequenceHeader = 0x67;
constexpr std::uint8_t pictureHeader = 0x68;
constexpr std::uint8_t idrHeader = 0x65;
constexpr std::uint8_t sliceHeader = 0x61;
constexpr int lumaQuantiser = 28;  // a level of 1 of the only coefficient changes every sample by 1
constexpr int chromaOffset = -6;   // the same for chroma
constexpr std::uint32_t frameNumberBits = 8;

/// The smallest level that allows the size and the macroblocks a second.
std::uint32_t LevelFor(std::uint32_t macroblocks, std::uint32_t fps) {
    struct Limit {
        std::uint32_t level, size, rate;
    };
    static constexpr Limit limits[] = {{40, 8192, 245760},   {42, 8704, 522240},   {50, 22080, 589824},
                                       {51, 36864, 983040},  {52, 36864, 2073600}, {60, 139264, 4177920},
                                       {61, 139264, 8355840}};
    for (const Limit& limit : limits) {
        if (macroblocks <= limit.size && macroblocks * fps <= limit.rate) {
            return limit.level;
        }
    }
    return 62;
}

/// The one value of a square of samples, or nothing.
std::optional<int> Flat(const std::vector<std::uint8_t>& plane, std::size_t stride, std::size_t x, std::size_t y,
                        std::size_t size) {
    const std::uint8_t value = plane[y * stride + x];
    for (std::size_t row = 0; row < size; ++row) {
        const auto begin = plane.begin() + static_cast<std::ptrdiff_t>((y + row) * stride + x);
        if (!std::all_of(begin, begin + static_cast<std::ptrdiff_t>(size), [&](auto v) { return v == value; })) {
            return std::nullopt;
        }
    }
    return value;
}

struct Edge {
    int sum = 0;
    bool there = false;
};

Edge Above(const std::vector<std::uint8_t>& plane, std::size_t stride, std::size_t x, std::size_t top,
           std::size_t count) {
    Edge edge{0, top > 0};
    for (std::size_t i = 0; edge.there && i < count; ++i) {
        edge.sum += plane[(top - 1) * stride + x + i];
    }
    return edge;
}

Edge Beside(const std::vector<std::uint8_t>& plane, std::size_t stride, std::size_t left, std::size_t y,
            std::size_t count) {
    Edge edge{0, left > 0};
    for (std::size_t i = 0; edge.there && i < count; ++i) {
        edge.sum += plane[(y + i) * stride + left - 1];
    }
    return edge;
}

int Mean(const Edge& one, const Edge& other, int count) {
    if (one.there && other.there) {
        return (one.sum + other.sum + count) / (2 * count);
    }
    if (one.there || other.there) {
        return ((one.there ? one.sum : other.sum) + count / 2) / count;
    }
    return 128;
}

/// 8.3.4: each of the four blocks has its own mean. Nothing when they differ.
std::optional<int> PredictChroma(const std::vector<std::uint8_t>& plane, std::size_t stride, std::size_t x,
                                 std::size_t y) {
    const Edge above[2] = {Above(plane, stride, x, y, 4), Above(plane, stride, x + 4, y, 4)};
    const Edge beside[2] = {Beside(plane, stride, x, y, 4), Beside(plane, stride, x, y + 4, 4)};
    const Edge none;
    const int first = Mean(above[0], beside[0], 4);
    const int last = Mean(above[1], beside[1], 4);
    const int right = above[1].there ? Mean(above[1], none, 4) : Mean(none, beside[0], 4);
    const int lower = beside[1].there ? Mean(none, beside[1], 4) : Mean(above[0], none, 4);
    return first == last && first == right && first == lower ? std::optional(first) : std::nullopt;
}

/// 9.2.2: the level of the only coefficient, after its coeff_token.
template <class Bits>
void PutLevel(Bits& bits, int level) {
    if (level == 1 || level == -1) {
        bits.Put(level < 0 ? 1U : 0U, 1);
        return;
    }
    const int code = (level > 0 ? 2 * level - 2 : -2 * level - 1) - 2;
    if (code < 14) {
        bits.Put(1, code + 1);
    } else if (code < 30) {
        bits.Put(1, 15);
        bits.Put(static_cast<std::uint32_t>(code - 14), 4);
    } else {
        bits.Put(1, 16);
        bits.Put(static_cast<std::uint32_t>(code - 30), 12);
    }
}

struct Tokens {
    std::string_view none, other, one;
};
constexpr Tokens fewTokens = {"1", "000101", "01"};
constexpr Tokens manyTokens = {"000011", "000000", "000001"};
constexpr Tokens chromaTokens = {"01", "000111", "1"};

template <class Bits>
void PutOnly(Bits& bits, const Tokens& tokens, int level) {
    if (level == 0) {
        bits.Code(tokens.none);
        return;
    }
    bits.Code(level == 1 || level == -1 ? tokens.one : tokens.other);
    PutLevel(bits, level);
    bits.Put(1, 1);  // no zeros before it
}

}  // namespace

H264Writer::H264Writer(const H264Format& format)
    : format_(format), columns_((format.width + 15) / 16), rows_((format.height + 15) / 16) {}

const std::vector<std::uint8_t>& H264Writer::Write(const std::vector<std::uint8_t>& nv12) {
    std::swap(now_, before_);
    Pad(nv12);
    unit_.clear();
    lastWasIdr_ = index_ % format_.idrPeriod == 0;
    sinceIdr_ = lastWasIdr_ ? 0 : sinceIdr_ + 1;
    if (format_.delimiters) {
        Append(delimiterHeader, {static_cast<std::uint8_t>(lastWasIdr_ ? 0x10 : 0x30)});
    }
    if (index_ == 0 || (lastWasIdr_ && format_.repeatsParameterSets)) {
        WriteParameterSets();
    }
    WriteSlice(lastWasIdr_);
    ++index_;
    return unit_;
}

/// Copies into planes of whole macroblocks, and repeats the last row and column.
void H264Writer::Pad(const std::vector<std::uint8_t>& nv12) {
    const std::size_t stride = std::size_t{columns_} * 16;
    const std::size_t height = std::size_t{rows_} * 16;
    now_.luma.resize(stride * height);
    now_.cb.resize(stride * height / 4);
    now_.cr.resize(stride * height / 4);
    for (std::size_t y = 0; y < height; ++y) {
        const std::uint8_t* row = nv12.data() + std::min<std::size_t>(y, format_.height - 1) * format_.width;
        std::uint8_t* target = now_.luma.data() + y * stride;
        std::copy_n(row, format_.width, target);
        std::fill(target + format_.width, target + stride, row[format_.width - 1]);
    }
    const std::uint8_t* chroma = nv12.data() + std::size_t{format_.width} * format_.height;
    for (std::size_t y = 0; y < height / 2; ++y) {
        const std::uint8_t* row = chroma + std::min<std::size_t>(y, format_.height / 2 - 1) * format_.width;
        for (std::size_t x = 0; x < stride / 2; ++x) {
            const std::size_t pair = 2 * std::min<std::size_t>(x, format_.width / 2 - 1);
            now_.cb[y * stride / 2 + x] = row[pair];
            now_.cr[y * stride / 2 + x] = row[pair + 1];
        }
    }
}

void H264Writer::WriteParameterSets() {
    Bits sequence;
    sequence.Put(100, 8);  // High
    sequence.Put(0, 8);
    sequence.Put(LevelFor(columns_ * rows_, format_.fps), 8);
    sequence.Unsigned(0);
    sequence.Unsigned(1);  // 4:2:0
    sequence.Unsigned(0);
    sequence.Unsigned(0);
    sequence.Put(0, 2);
    sequence.Unsigned(frameNumberBits - 4);
    sequence.Unsigned(2);  // output order is decoding order
    sequence.Unsigned(1);
    sequence.Put(0, 1);
    sequence.Unsigned(columns_ - 1);
    sequence.Unsigned(rows_ - 1);
    sequence.Put(3, 2);  // frames only; direct_8x8_inference
    const std::uint32_t right = (columns_ * 16 - format_.width) / 2;
    const std::uint32_t bottom = (rows_ * 16 - format_.height) / 2;
    sequence.Put(right + bottom != 0 ? 1U : 0U, 1);
    if (right + bottom != 0) {
        for (const std::uint32_t crop : {0U, right, 0U, bottom}) {
            sequence.Unsigned(crop);
        }
    }
    sequence.Put(1, 1);  // VUI
    sequence.Put(0, 2);
    sequence.Put(format_.describesSignal ? 1U : 0U, 1);
    if (format_.describesSignal) {
        sequence.Put(format_.videoFormat, 3);
        sequence.Put(format_.fullRange ? 1U : 0U, 1);
        sequence.Put(format_.describesColors ? 1U : 0U, 1);
        if (format_.describesColors) {
            sequence.Put(format_.primaries, 8);
            sequence.Put(format_.transfer, 8);
            sequence.Put(format_.matrix, 8);
        }
    }
    sequence.Put(0, 1);
    sequence.Put(1, 1);  // timing
    sequence.Put(1, 32);
    sequence.Put(2 * format_.fps, 32);
    sequence.Put(1, 1);
    sequence.Put(0, 3);
    sequence.Put(format_.noReordering ? 1U : 0U, 1);
    if (format_.noReordering) {
        sequence.Put(1, 1);
        for (const std::uint32_t limit : {0U, 0U, 16U, 16U, 0U, 1U}) {
            sequence.Unsigned(limit);
        }
    }
    sequence.Trail();
    Append(sequenceHeader, sequence.bytes);

    Bits picture;
    picture.Unsigned(0);
    picture.Unsigned(0);
    picture.Put(0, 2);  // CAVLC
    picture.Unsigned(0);
    picture.Unsigned(0);
    picture.Unsigned(0);
    picture.Put(0, 3);
    picture.Signed(lumaQuantiser - 26);
    picture.Signed(0);
    picture.Signed(chromaOffset);
    picture.Put(4, 3);  // deblocking is controlled in the slice
    picture.Trail();
    Append(pictureHeader, picture.bytes);
}

void H264Writer::WriteSlice(bool idr) {
    Bits bits;
    bits.Unsigned(0);
    bits.Unsigned(idr ? 7 : 5);
    bits.Unsigned(0);
    bits.Put(sinceIdr_ & ((1U << frameNumberBits) - 1), frameNumberBits);
    if (idr) {
        bits.Unsigned(index_ / format_.idrPeriod % 2);
        bits.Put(0, 2);
    } else {
        bits.Put(0, 3);  // one reference, no reordering, no marking
    }
    bits.Signed(0);
    bits.Unsigned(1);  // no deblocking
    whole_.assign(std::size_t{columns_} * rows_, false);
    std::uint32_t skipped = 0;
    for (std::uint32_t i = 0; i < columns_ * rows_; ++i) {
        const std::uint32_t x = i % columns_;
        const std::uint32_t y = i / columns_;
        if (!idr && IsUnchanged(x, y)) {
            ++skipped;
            continue;
        }
        if (!idr) {
            bits.Unsigned(skipped);
            skipped = 0;
        }
        if (!WriteFlat(bits, x, y, !idr)) {
            WriteWhole(bits, x, y, !idr);
        }
    }
    if (skipped != 0) {
        bits.Unsigned(skipped);
    }
    bits.Trail();
    Append(idr ? idrHeader : sliceHeader, bits.bytes);
}

bool H264Writer::IsUnchanged(std::uint32_t x, std::uint32_t y) const {
    const auto same = [&](const std::vector<std::uint8_t>& one, const std::vector<std::uint8_t>& other,
                          std::size_t size) {
        for (std::size_t row = 0; row < size; ++row) {
            const auto at = static_cast<std::ptrdiff_t>((y * size + row) * columns_ * size + x * size);
            if (!std::equal(one.begin() + at, one.begin() + at + static_cast<std::ptrdiff_t>(size),
                            other.begin() + at)) {
                return false;
            }
        }
        return true;
    };
    return same(now_.luma, before_.luma, 16) && same(now_.cb, before_.cb, 8) && same(now_.cr, before_.cr, 8);
}

/// 9.2.1: selects the code by the neighbours' numbers of coefficients. Only uncompressed blocks count.
int H264Writer::NeighbourLevels(std::uint32_t x, std::uint32_t y) const {
    const int left = x > 0 && whole_[std::size_t{y} * columns_ + x - 1] ? 16 : 0;
    const int above = y > 0 && whole_[std::size_t{y - 1} * columns_ + x] ? 16 : 0;
    return x > 0 && y > 0 ? (left + above + 1) / 2 : left + above;
}

bool H264Writer::WriteFlat(Bits& bits, std::uint32_t x, std::uint32_t y, bool predicted) {
    const std::size_t stride = std::size_t{columns_} * 16;
    const std::optional<int> luma = Flat(now_.luma, stride, x * 16, y * 16, 16);
    const std::optional<int> cb = Flat(now_.cb, stride / 2, x * 8, y * 8, 8);
    const std::optional<int> cr = Flat(now_.cr, stride / 2, x * 8, y * 8, 8);
    const std::optional<int> cbMean = PredictChroma(now_.cb, stride / 2, x * 8, y * 8);
    const std::optional<int> crMean = PredictChroma(now_.cr, stride / 2, x * 8, y * 8);
    if (!luma || !cb || !cr || !cbMean || !crMean) {
        return false;
    }
    const int lumaMean =
        Mean(Above(now_.luma, stride, x * 16, y * 16, 16), Beside(now_.luma, stride, x * 16, y * 16, 16), 16);
    const bool chroma = *cb != *cbMean || *cr != *crMean;
    bits.Unsigned((predicted ? 5U : 0U) + (chroma ? 7U : 3U));  // Intra 16x16 by the mean
    bits.Unsigned(0);
    bits.Signed(0);
    PutOnly(bits, NeighbourLevels(x, y) >= 8 ? manyTokens : fewTokens, *luma - lumaMean);
    if (chroma) {
        PutOnly(bits, chromaTokens, *cb - *cbMean);
        PutOnly(bits, chromaTokens, *cr - *crMean);
    }
    return true;
}

void H264Writer::WriteWhole(Bits& bits, std::uint32_t x, std::uint32_t y, bool predicted) {
    whole_[std::size_t{y} * columns_ + x] = true;
    bits.Unsigned((predicted ? 5U : 0U) + 25U);
    bits.Align();
    const auto append = [&](const std::vector<std::uint8_t>& plane, std::size_t size) {
        for (std::size_t row = 0; row < size; ++row) {
            const auto at = plane.begin() + static_cast<std::ptrdiff_t>((y * size + row) * columns_ * size + x * size);
            bits.bytes.insert(bits.bytes.end(), at, at + static_cast<std::ptrdiff_t>(size));
        }
    };
    append(now_.luma, 16);
    append(now_.cb, 8);
    append(now_.cr, 8);
}

/// Start code, header, and the payload with its emulation prevention.
void H264Writer::Append(std::uint8_t header, const std::vector<std::uint8_t>& payload) {
    unit_.insert(unit_.end(), {0, 0, 0, 1, header});
    int zeros = 0;
    for (const std::uint8_t byte : payload) {
        if (zeros >= 2 && byte <= 3) {
            unit_.push_back(3);
            zeros = 0;
        }
        unit_.push_back(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
}

}  // namespace zv::drivers
