#include "audio/SampleConversion.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <numeric>
#include <span>
#include <type_traits>

namespace zv {
namespace {

template <class Value>
Value Load(const std::byte* at) {
    static_assert(std::endian::native == std::endian::little);
    Value value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

float DecodeFloat32(const std::byte* at) {
    constexpr std::uint32_t exponent = 0x7F800000U;
    return (Load<std::uint32_t>(at) & exponent) == exponent ? 0.0F : Load<float>(at);
}

float DecodeFloat64(const std::byte* at) {
    constexpr std::uint64_t exponent = 0x7FF0000000000000U;
    return (Load<std::uint64_t>(at) & exponent) == exponent ? 0.0F : static_cast<float>(Load<double>(at));
}

float DecodeInteger8(const std::byte* at) { return static_cast<float>(Load<std::uint8_t>(at) - 128) * 0.0078125F; }

float DecodeInteger16(const std::byte* at) { return static_cast<float>(Load<std::int16_t>(at)) * 3.0517578e-5F; }

float DecodeInteger24(const std::byte* at) {
    const std::uint32_t raw = std::to_integer<std::uint32_t>(at[0]) | std::to_integer<std::uint32_t>(at[1]) << 8U |
                              std::to_integer<std::uint32_t>(at[2]) << 16U;
    const std::int32_t value = static_cast<std::int32_t>(raw << 8U) >> 8;
    return static_cast<float>(value) * 1.1920929e-7F;
}

float DecodeInteger32(const std::byte* at) {
    return static_cast<float>(static_cast<double>(Load<std::int32_t>(at)) * 4.656612873077393e-10);
}

/// Mixes the channels of one frame to stereo; `value` returns the value of a channel.
template <class Value>
StereoFrame MixChannels(std::uint32_t channels, const Value& value) {
    if (channels == 1) {
        const float both = value(0);
        return {both, both};
    }
    StereoFrame frame{value(0), value(1)};
    for (std::uint32_t c = 2; c < channels; ++c) {
        const float half = value(c) * 0.5F;
        frame.left += half;
        frame.right += half;
    }
    return frame;
}

// The output frames from number `i` of a packet on. `channels` is the format's count. It is a constant for stereo, so
// that the compiler removes the loop over further channels.

/// At the output's rate every output frame is a frame of the packet: no interpolation.
template <float (*Decode)(const std::byte*), std::size_t sampleBytes, class Channels>
void CopyFrames(const SourceFormat& format, Channels channels, PacketSound sound, std::int64_t i,
                std::span<StereoFrame> output) {
    const std::int64_t last = std::int64_t{sound.frames} - 1;
    for (StereoFrame& frame : output) {
        const std::byte* at = sound.data + std::min(last, i) * format.blockAlign;
        frame = MixChannels(channels, [at](std::uint32_t c) { return Decode(at + c * sampleBytes); });
        ++i;
    }
}

template <float (*Decode)(const std::byte*), std::size_t sampleBytes, class Channels>
void InterpolateFrames(const SourceFormat& format, Channels channels, PacketSound sound, std::int64_t i,
                       std::span<StereoFrame> output) {
    const std::int64_t last = std::int64_t{sound.frames} - 1;
    for (StereoFrame& frame : output) {
        const double pos = static_cast<double>(format.sampleRate) * static_cast<double>(i) / 48000.0;
        const std::int64_t a = std::min(last, static_cast<std::int64_t>(pos));
        const std::int64_t b = std::min(last, a + 1);
        const auto w = static_cast<float>(pos - static_cast<double>(a));
        const std::byte* frameA = sound.data + a * format.blockAlign;
        const std::byte* frameB = sound.data + b * format.blockAlign;
        frame = MixChannels(channels, [=](std::uint32_t c) {
            return (1.0F - w) * Decode(frameA + c * sampleBytes) + w * Decode(frameB + c * sampleBytes);
        });
        ++i;
    }
}

/// Stores contiguous runs of slots: one run, or two if the range crosses the ring's end.
template <float (*Decode)(const std::byte*), std::size_t sampleBytes, class Channels>
void StoreRuns(AudioRing& ring, const SourceFormat& format, Channels channels, PacketSound sound, FrameRange part,
               std::int64_t first) {
    for (std::int64_t t = part.begin; t < part.end;) {
        const std::int64_t slot = t % ringFrames;
        const std::int64_t count = std::min(part.end - t, ringFrames - slot);
        const auto stamp = ring.stamps.begin() + slot;
        std::iota(stamp, stamp + count, t);
        const std::span<StereoFrame> output(ring.samples.begin() + slot, static_cast<std::size_t>(count));
        if (format.sampleRate == outputRate) {
            CopyFrames<Decode, sampleBytes>(format, channels, sound, t - first, output);
        } else {
            InterpolateFrames<Decode, sampleBytes>(format, channels, sound, t - first, output);
        }
        t += count;
    }
}

template <float (*Decode)(const std::byte*), std::size_t sampleBytes>
void StoreConverted(AudioRing& ring, const SourceFormat& format, PacketSound sound, FrameRange part,
                    std::int64_t first) {
    using Two = std::integral_constant<std::uint32_t, 2>;
    if (format.channels == Two::value) {
        StoreRuns<Decode, sampleBytes>(ring, format, Two(), sound, part, first);
    } else {
        StoreRuns<Decode, sampleBytes>(ring, format, format.channels, sound, part, first);
    }
}

void StoreSound(AudioRing& ring, const SourceFormat& format, PacketSound sound, FrameRange part, std::int64_t first) {
    if (format.isFloat) {
        return format.bitsPerSample == 32 ? StoreConverted<DecodeFloat32, 4>(ring, format, sound, part, first)
                                          : StoreConverted<DecodeFloat64, 8>(ring, format, sound, part, first);
    }
    switch (format.bitsPerSample) {
        case 8:
            return StoreConverted<DecodeInteger8, 1>(ring, format, sound, part, first);
        case 16:
            return StoreConverted<DecodeInteger16, 2>(ring, format, sound, part, first);
        case 24:
            return StoreConverted<DecodeInteger24, 3>(ring, format, sound, part, first);
        default:
            return StoreConverted<DecodeInteger32, 4>(ring, format, sound, part, first);
    }
}

bool HasDecoder(std::uint32_t tag, std::uint32_t bits) {
    if (tag == formatTagFloat) {
        return bits == 32 || bits == 64;
    }
    return tag == formatTagPcm && (bits == 8 || bits == 16 || bits == 24 || bits == 32);
}

}  // namespace

std::uint32_t EffectiveTag(const MixFormat& mix) {
    const bool extended = mix.formatTag == formatTagExtensible && mix.extraBytes >= 22;
    return extended ? mix.subFormatTag : mix.formatTag;
}

bool AcceptFormat(const MixFormat& mix, SourceFormat& format) {
    const std::uint32_t tag = EffectiveTag(mix);
    format = {mix.sampleRate, mix.channels, mix.bitsPerSample, mix.blockAlign, tag == formatTagFloat};
    return mix.sampleRate != 0 && mix.channels >= 1 && mix.channels <= 32 &&
           mix.blockAlign == mix.bitsPerSample / 8 * mix.channels && HasDecoder(tag, mix.bitsPerSample);
}

void StorePacket(AudioRing& ring, const SourceFormat& format, PacketSound sound, FrameRange range) {
    const FrameRange part = Acceptable(ring, range);
    if (sound.data == nullptr || sound.frames == 0) {
        for (std::int64_t t = part.begin; t < part.end; ++t) {
            StoreFrame(ring, t, {});
        }
        return;
    }
    StoreSound(ring, format, sound, part, range.begin);
}

}  // namespace zv
