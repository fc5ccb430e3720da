#include "audio/SampleConversion.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <vector>

namespace zv {
namespace {

template <class Value>
void Append(std::vector<std::byte>& bytes, Value value) {
    const std::size_t at = bytes.size();
    bytes.resize(at + sizeof value);
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

template <class Value>
std::vector<std::byte> BytesOf(const std::vector<Value>& values) {
    std::vector<std::byte> bytes;
    for (const Value value : values) {
        Append(bytes, value);
    }
    return bytes;
}

std::vector<std::byte> RawBytes(std::initializer_list<int> values) {
    std::vector<std::byte> bytes;
    for (const int value : values) {
        bytes.push_back(static_cast<std::byte>(value));
    }
    return bytes;
}

SourceFormat Integer(std::uint32_t rate, std::uint32_t channels, std::uint32_t bits) {
    return {rate, channels, bits, bits / 8 * channels, false};
}

SourceFormat Float(std::uint32_t rate, std::uint32_t channels, std::uint32_t bits = 32) {
    return {rate, channels, bits, bits / 8 * channels, true};
}

/// Converts one packet that begins at output frame 0.
std::vector<StereoFrame> Convert(const SourceFormat& format, const std::vector<std::byte>& bytes, std::size_t count) {
    AudioRing ring;
    const auto frames = static_cast<std::uint32_t>(bytes.size() / format.blockAlign);
    StorePacket(ring, format, {bytes.data(), frames}, {0, static_cast<std::int64_t>(count)});
    for (std::size_t t = 0; t < count; ++t) {
        EXPECT_EQ(ring.stamps[t], static_cast<std::int64_t>(t));
    }
    EXPECT_EQ(ring.stamps[count], -1);
    ring.samples.resize(count);
    return ring.samples;
}

/// The left side of one mono frame.
float DecodeOne(const SourceFormat& format, const std::vector<std::byte>& bytes) {
    return Convert(format, bytes, 1)[0].left;
}

TEST(SampleDecoding, EightBitIntegersAreUnsignedAroundOneHundredAndTwentyEight) {
    const SourceFormat format = Integer(48000, 1, 8);
    EXPECT_EQ(DecodeOne(format, RawBytes({0})), -1.0F);
    EXPECT_EQ(DecodeOne(format, RawBytes({128})), 0.0F);
    EXPECT_EQ(DecodeOne(format, RawBytes({192})), 0.5F);
    EXPECT_EQ(DecodeOne(format, RawBytes({255})), 127 * 0.0078125F);
}

TEST(SampleDecoding, SixteenBitIntegersAreSignedLittleEndian) {
    const SourceFormat format = Integer(48000, 1, 16);
    EXPECT_EQ(DecodeOne(format, RawBytes({0x00, 0x80})), -32768 * 3.0517578e-5F);
    EXPECT_EQ(DecodeOne(format, RawBytes({0x00, 0x80})), -1.0F);
    EXPECT_EQ(DecodeOne(format, RawBytes({0x00, 0x40})), 0.5F);
    EXPECT_EQ(DecodeOne(format, RawBytes({0xFF, 0xFF})), -1.0F / 32768);
    EXPECT_EQ(DecodeOne(format, RawBytes({0x00, 0x00})), 0.0F);
}

TEST(SampleDecoding, TwentyFourBitIntegersAreSignExtended) {
    const SourceFormat format = Integer(48000, 1, 24);
    EXPECT_EQ(DecodeOne(format, RawBytes({0x00, 0x00, 0x80})), -1.0F);
    EXPECT_EQ(DecodeOne(format, RawBytes({0x00, 0x00, 0x40})), 0.5F);
    EXPECT_EQ(DecodeOne(format, RawBytes({0xFF, 0xFF, 0xFF})), -1.0F / 8388608);
    EXPECT_EQ(DecodeOne(format, RawBytes({0x03, 0x02, 0x01})), 66051 * 1.1920929e-7F);
}

TEST(SampleDecoding, ThirtyTwoBitIntegersGoThroughDoublePrecision) {
    const SourceFormat format = Integer(48000, 1, 32);
    EXPECT_EQ(DecodeOne(format, RawBytes({0x00, 0x00, 0x00, 0x80})), -1.0F);
    EXPECT_EQ(DecodeOne(format, RawBytes({0x00, 0x00, 0x00, 0x40})), 0.5F);
    EXPECT_EQ(DecodeOne(format, RawBytes({0xFF, 0xFF, 0xFF, 0x7F})), 1.0F);
    EXPECT_EQ(DecodeOne(format, RawBytes({0x01, 0x00, 0x00, 0x00})), static_cast<float>(4.656612873077393e-10));
}

TEST(SampleDecoding, FloatsOfThirtyTwoBitsAreCopied) {
    const SourceFormat format = Float(48000, 1);
    for (const float value : {0.0F, 0.7071F, -1.0F, 2.5F, 1e-30F, std::numeric_limits<float>::max()}) {
        EXPECT_EQ(DecodeOne(format, BytesOf<float>({value})), value);
    }
}

TEST(SampleDecoding, FloatsOfSixtyFourBitsAreNarrowed) {
    const SourceFormat format = Float(48000, 1, 64);
    EXPECT_EQ(DecodeOne(format, BytesOf<double>({0.1})), 0.1F);
    EXPECT_EQ(DecodeOne(format, BytesOf<double>({-0.75})), -0.75F);
}

TEST(SampleDecoding, InfinityAndNotANumberAreSilence) {
    constexpr float inf = std::numeric_limits<float>::infinity();
    for (const float value : {inf, -inf, std::nanf(""), -std::nanf("1")}) {
        EXPECT_EQ(DecodeOne(Float(48000, 1), BytesOf<float>({value})), 0.0F);
    }
    constexpr double wide = std::numeric_limits<double>::infinity();
    for (const double value : {wide, -wide, std::nan("")}) {
        EXPECT_EQ(DecodeOne(Float(48000, 1, 64), BytesOf<double>({value})), 0.0F);
    }
}

TEST(SampleConversion, InfinityBecomesSilenceBeforeTheInterpolation) {
    // At 24 kHz output frame 1 lies half-way between 0.5 and the infinity that counts as 0.
    const auto out = Convert(Float(24000, 1), BytesOf<float>({0.5F, std::numeric_limits<float>::infinity()}), 4);
    EXPECT_EQ(out[0].left, 0.5F);
    EXPECT_EQ(out[1].left, 0.25F);
    EXPECT_EQ(out[2].left, 0.0F);
}

TEST(SampleConversion, StereoFloatAt48000HzIsAnExactCopy) {
    std::vector<float> samples;
    for (int i = 0; i < 960; ++i) {
        samples.push_back(static_cast<float>(std::sin(i * 0.37)) * 0.9F);
    }
    const auto out = Convert(Float(48000, 2), BytesOf(samples), 480);
    for (std::size_t i = 0; i < 480; ++i) {
        ASSERT_EQ(out[i].left, samples[2 * i]);
        ASSERT_EQ(out[i].right, samples[2 * i + 1]);
    }
}

TEST(SampleConversion, OneChannelIsCopiedToBothSides) {
    const auto out = Convert(Float(48000, 1), BytesOf<float>({0.5F, -0.25F}), 2);
    EXPECT_EQ(out[0].left, 0.5F);
    EXPECT_EQ(out[0].right, 0.5F);
    EXPECT_EQ(out[1].left, -0.25F);
    EXPECT_EQ(out[1].right, -0.25F);
}

TEST(SampleConversion, TwoChannelsKeepTheirSides) {
    const auto out = Convert(Integer(48000, 2, 16), RawBytes({0x00, 0x40, 0x00, 0xC0}), 1);
    EXPECT_EQ(out[0].left, 0.5F);
    EXPECT_EQ(out[0].right, -0.5F);
}

TEST(SampleConversion, FurtherChannelsAreAddedAtHalfToBothSides) {
    // Every channel has a bit of its own, so a swapped or lost one shows.
    std::vector<float> frame = {1.0F / 2, 1.0F / 4, 1.0F / 8, 1.0F / 16, 1.0F / 32, 1.0F / 64, 1.0F / 128, 1.0F / 256};
    float expectedLeft = frame[0];
    float expectedRight = frame[1];
    for (std::uint32_t channels = 2; channels <= 8; ++channels) {
        if (channels > 2) {
            expectedLeft += frame[channels - 1] / 2;
            expectedRight += frame[channels - 1] / 2;
        }
        const std::vector<float> used(frame.begin(), frame.begin() + channels);
        const auto out = Convert(Float(48000, channels), BytesOf(used), 1);
        EXPECT_EQ(out[0].left, expectedLeft) << channels;
        EXPECT_EQ(out[0].right, expectedRight) << channels;
    }
}

TEST(SampleConversion, AFoldedDownMixMayExceedFullScale) {
    const auto out = Convert(Float(48000, 6), BytesOf<float>({1, 1, 1, 1, 1, 1}), 1);
    EXPECT_EQ(out[0].left, 3.0F);
    EXPECT_EQ(out[0].right, 3.0F);
}

TEST(SampleConversion, AHalfRateIsInterpolatedLinearly) {
    const auto out = Convert(Float(24000, 2), BytesOf<float>({0, 1, 0.5F, 0, 1, 0.5F}), 6);
    const float left[] = {0, 0.25F, 0.5F, 0.75F, 1, 1};
    const float right[] = {1, 0.5F, 0, 0.25F, 0.5F, 0.5F};
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(out[i].left, left[i]) << i;
        EXPECT_EQ(out[i].right, right[i]) << i;
    }
}

TEST(SampleConversion, TheEndOfAPacketRepeatsItsLastFrame) {
    const auto out = Convert(Float(8000, 1), BytesOf<float>({0, 0.75F}), 12);
    for (std::size_t i = 6; i < 12; ++i) {
        EXPECT_EQ(out[i].left, 0.75F) << i;
    }
    EXPECT_EQ(out[3].left, 0.375F);
}

TEST(SampleConversion, ADoubleRateUsesEverySecondFrame) {
    const auto out = Convert(Integer(96000, 1, 8), RawBytes({128, 0, 192, 0, 160, 0}), 3);
    EXPECT_EQ(out[0].left, 0.0F);
    EXPECT_EQ(out[1].left, 0.5F);
    EXPECT_EQ(out[2].left, 0.25F);
}

TEST(SampleConversion, A44100HzPacketIsInterpolatedAtTheComputedPositions) {
    std::vector<float> ramp;
    for (int i = 0; i < 441; ++i) {
        ramp.push_back(static_cast<float>(i));
    }
    const auto out = Convert(Float(44100, 1), BytesOf(ramp), 480);
    // Frame 160 lies at 44100 * 160 / 48000 = 147, frame 100 at 91.875, frame 479 at 440.08, behind the last one.
    EXPECT_EQ(out[160].left, 147.0F);
    EXPECT_EQ(out[100].left, 91.875F);
    EXPECT_EQ(out[479].left, 440.0F);
}

void AppendSample(std::vector<std::byte>& bytes, const SourceFormat& format, double value) {
    if (format.isFloat) {
        return format.bitsPerSample == 32 ? Append(bytes, static_cast<float>(value)) : Append(bytes, value);
    }
    if (format.bitsPerSample == 8) {
        return Append(bytes, static_cast<std::uint8_t>(std::lround(value * 127) + 128));
    }
    const auto whole = std::llround(value * std::ldexp(1.0, static_cast<int>(format.bitsPerSample) - 1) * 0.99999);
    for (std::uint32_t shift = 0; shift < format.bitsPerSample; shift += 8) {
        bytes.push_back(static_cast<std::byte>(static_cast<std::uint64_t>(whole) >> shift));
    }
}

TEST(SampleConversion, AToneOf200HzSurvivesEveryFormatRateAndChannelCount) {
    const SourceFormat samples[] = {Integer(0, 1, 8),  Integer(0, 1, 16), Integer(0, 1, 24),
                                    Integer(0, 1, 32), Float(0, 1, 32),   Float(0, 1, 64)};
    for (const std::uint32_t rate : {8000U, 11025U, 16000U, 22050U, 32000U, 44100U, 48000U, 88200U, 96000U, 192000U}) {
        for (std::uint32_t channels = 1; channels <= 8; ++channels) {
            for (SourceFormat format : samples) {
                format.sampleRate = rate;
                format.channels = channels;
                format.blockAlign = format.bitsPerSample / 8 * channels;
                std::vector<std::byte> bytes;
                for (std::uint32_t i = 0; i < rate / 50; ++i) {
                    const double value = 0.8 * std::sin(2 * std::numbers::pi * 200 * i / rate);
                    for (std::uint32_t c = 0; c < channels; ++c) {
                        AppendSample(bytes, format, c < 2 ? value : 0.0);
                    }
                }
                const auto out = Convert(format, bytes, 960);
                for (std::size_t i = 0; i < 950; ++i) {
                    const double expected = 0.8 * std::sin(2 * std::numbers::pi * 200 * static_cast<double>(i) / 48000);
                    ASSERT_NEAR(out[i].left, expected, 0.02) << rate << " " << channels << " " << format.bitsPerSample;
                    ASSERT_NEAR(out[i].right, expected, 0.02) << rate << " " << channels << " " << format.bitsPerSample;
                }
            }
        }
    }
}

TEST(SampleConversion, OnlyThePartThatTheRingAcceptsIsStored) {
    AudioRing ring;
    ring.readPosition = 2;
    const auto bytes = BytesOf<float>({0.1F, 0.2F, 0.3F, 0.4F});
    StorePacket(ring, Float(48000, 1), {bytes.data(), 4}, {0, 4});
    EXPECT_EQ(ring.stamps[1], -1);
    EXPECT_EQ(ring.stamps[2], 2);
    EXPECT_EQ(ring.samples[2].left, 0.3F);
    EXPECT_EQ(ring.samples[3].left, 0.4F);
}

TEST(SampleConversion, APacketThatCrossesTheEndOfTheRingContinuesAtItsBeginning) {
    const auto bytes = BytesOf<float>({0.1F, 0.5F, 0.2F, 0.25F, 0.3F, 0.75F, 0.4F, 1.0F});
    for (const std::uint32_t channels : {1U, 2U}) {
        AudioRing ring;
        ring.readPosition = 95000;
        StorePacket(ring, Float(48000, channels), {bytes.data(), 4}, {95998, 96002});
        const float third = channels == 1 ? 0.2F : 0.3F;
        EXPECT_EQ(ring.samples[95998].left, 0.1F);
        EXPECT_EQ(ring.samples[95999].right, channels == 1 ? 0.5F : 0.25F);
        EXPECT_EQ(ring.samples[0].left, third);
        EXPECT_EQ(ring.samples[1].right, channels == 1 ? 0.25F : 1.0F);
        EXPECT_EQ(ring.stamps[95999], 95999);
        EXPECT_EQ(ring.stamps[0], 96000);
        EXPECT_EQ(ring.stamps[1], 96001);
        EXPECT_EQ(ring.stamps[2], -1);
    }
    // The same with an interpolation that goes on across the end.
    AudioRing ring;
    ring.readPosition = 95000;
    StorePacket(ring, Float(24000, 2), {bytes.data(), 2}, {95999, 96003});
    EXPECT_EQ(ring.samples[95999].right, 0.5F);
    EXPECT_EQ(ring.samples[0].right, 0.375F);
    EXPECT_EQ(ring.samples[1].right, 0.25F);
    EXPECT_EQ(ring.samples[2].right, 0.25F);
}

TEST(SampleConversion, SilenceIsStoredAsZeros) {
    AudioRing ring;
    StoreFrame(ring, 5, {0.5F, 0.5F});
    StorePacket(ring, Float(48000, 2), {nullptr, 480}, {0, 480});
    EXPECT_EQ(ring.stamps[5], 5);
    EXPECT_EQ(ring.samples[5].left, 0.0F);
    EXPECT_EQ(ring.stamps[479], 479);
}

MixFormat Mix(std::uint32_t tag, std::uint32_t channels, std::uint32_t rate, std::uint32_t align, std::uint32_t bits) {
    MixFormat mix;
    mix.formatTag = tag;
    mix.channels = channels;
    mix.sampleRate = rate;
    mix.blockAlign = align;
    mix.bitsPerSample = bits;
    return mix;
}

bool Accepts(const MixFormat& mix) {
    SourceFormat format;
    return AcceptFormat(mix, format);
}

TEST(MixFormatCheck, AcceptsEveryFormatWithADecoder) {
    for (const std::uint32_t bits : {8U, 16U, 24U, 32U}) {
        EXPECT_TRUE(Accepts(Mix(1, 2, 48000, bits / 4, bits))) << bits;
    }
    for (const std::uint32_t bits : {32U, 64U}) {
        EXPECT_TRUE(Accepts(Mix(3, 2, 48000, bits / 4, bits))) << bits;
    }
    EXPECT_TRUE(Accepts(Mix(3, 1, 1, 4, 32)));
    EXPECT_TRUE(Accepts(Mix(3, 32, 192000, 128, 32)));
}

TEST(MixFormatCheck, RefusesFormatsWithoutAConversion) {
    EXPECT_FALSE(Accepts(Mix(3, 2, 0, 8, 32))) << "no rate";
    EXPECT_FALSE(Accepts(Mix(3, 0, 48000, 0, 32))) << "no channel";
    EXPECT_FALSE(Accepts(Mix(3, 33, 48000, 132, 32))) << "too many channels";
    EXPECT_FALSE(Accepts(Mix(3, 2, 48000, 6, 32))) << "block align";
    EXPECT_FALSE(Accepts(Mix(2, 2, 48000, 4, 16))) << "tag 2";
    EXPECT_FALSE(Accepts(Mix(0, 2, 48000, 4, 16))) << "tag 0";
    EXPECT_FALSE(Accepts(Mix(1, 2, 48000, 5, 20))) << "20 bits";
    EXPECT_FALSE(Accepts(Mix(1, 2, 48000, 16, 64))) << "integers of 64 bits";
    EXPECT_FALSE(Accepts(Mix(3, 2, 48000, 4, 16))) << "floats of 16 bits";
    EXPECT_FALSE(Accepts(Mix(3, 2, 48000, 6, 24))) << "floats of 24 bits";
    EXPECT_FALSE(Accepts(Mix(1, 1, 48000, 0, 4))) << "4 bits";
}

TEST(MixFormatCheck, AnExtensionDecidesTheTagOnlyWhenItIsLongEnough) {
    MixFormat mix = Mix(formatTagExtensible, 2, 48000, 8, 32);
    mix.extraBytes = 22;
    mix.subFormatTag = 3;
    SourceFormat format;
    EXPECT_TRUE(AcceptFormat(mix, format));
    EXPECT_TRUE(format.isFloat);
    mix.subFormatTag = 1;
    EXPECT_TRUE(AcceptFormat(mix, format));
    EXPECT_FALSE(format.isFloat);
    mix.extraBytes = 21;
    EXPECT_FALSE(AcceptFormat(mix, format));
    EXPECT_EQ(EffectiveTag(mix), formatTagExtensible);
    mix = Mix(1, 2, 48000, 4, 16);
    mix.extraBytes = 22;
    mix.subFormatTag = 3;
    EXPECT_EQ(EffectiveTag(mix), formatTagPcm) << "a plain tag has no extension to ask";
}

}  // namespace
}  // namespace zv
