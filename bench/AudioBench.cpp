// The cost of 10 ms of sound: converting and storing one packet, against FFmpeg's resampler with linear interpolation
// on the same samples, and mixing one block of two sources. Plain copies of the bytes are the scale. Each row ends with
// a checksum of its output.
#include <benchmark/benchmark.h>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <cmath>
#include <cstring>
#include <vector>

#include "audio/AudioClock.h"
#include "audio/AudioMix.h"
#include "audio/SampleConversion.h"

namespace {

std::vector<std::byte> Packet(const zv::SourceFormat& format, std::uint32_t frames) {
    std::vector<std::byte> bytes(std::size_t{frames} * format.blockAlign);
    if (format.isFloat) {
        for (std::size_t i = 0; i < bytes.size() / sizeof(float); ++i) {
            const auto value = static_cast<float>(std::sin(static_cast<double>(i) * 0.01));
            std::memcpy(bytes.data() + i * sizeof value, &value, sizeof value);
        }
    } else {
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<std::byte>(i * 37);
        }
    }
    return bytes;
}

void ConvertAndStore(benchmark::State& state, zv::SourceFormat format) {
    format.blockAlign = format.bitsPerSample / 8 * format.channels;
    const std::uint32_t frames = format.sampleRate / 100;
    const auto bytes = Packet(format, frames);
    zv::AudioRing ring;
    std::int64_t position = 0;
    for (auto _ : state) {
        zv::StorePacket(ring, format, {bytes.data(), frames}, zv::PacketRange(position, 0, frames, format.sampleRate));
        position += 100000;
        ring.readPosition += 480;
    }
    double checksum = 0;
    for (const zv::StereoFrame& frame : ring.samples) {
        checksum += static_cast<double>(frame.left) - static_cast<double>(frame.right) / 2;
    }
    state.counters["checksum"] = checksum;
}

/// FFmpeg's resampler from the same packets to 48 kHz stereo float: one tap to either side, linear between them.
void Resample(benchmark::State& state, zv::SourceFormat format) {
    format.blockAlign = format.bitsPerSample / 8 * format.channels;
    const std::uint32_t frames = format.sampleRate / 100;
    const auto bytes = Packet(format, frames);
    AVChannelLayout from;
    AVChannelLayout to = AV_CHANNEL_LAYOUT_STEREO;
    av_channel_layout_default(&from, static_cast<int>(format.channels));
    SwrContext* resampler = nullptr;
    swr_alloc_set_opts2(&resampler, &to, AV_SAMPLE_FMT_FLT, 48000, &from,
                        format.isFloat ? AV_SAMPLE_FMT_FLT : AV_SAMPLE_FMT_S16, static_cast<int>(format.sampleRate), 0,
                        nullptr);
    av_opt_set_int(resampler, "filter_size", 2, 0);
    av_opt_set_int(resampler, "linear_interp", 1, 0);
    if (swr_init(resampler) < 0) {
        state.SkipWithError("the resampler does not support this format");
    }
    std::vector<float> output(2 * 1024);
    auto* out = reinterpret_cast<std::uint8_t*>(output.data());
    const auto* in = reinterpret_cast<const std::uint8_t*>(bytes.data());
    double checksum = 0;
    for (auto _ : state) {
        swr_convert(resampler, &out, 1024, &in, static_cast<int>(frames));
        checksum += static_cast<double>(output[958]);
    }
    state.counters["checksum"] = checksum / static_cast<double>(state.iterations());
    swr_free(&resampler);
}

void MixBlock(benchmark::State& state) {
    zv::AudioRing system;
    zv::AudioRing microphone;
    zv::AudioMix mix{.system = &system, .microphone = &microphone, .nextBlockFrame = 0, .block = {}};
    for (std::int64_t t = 0; t < zv::ringFrames; ++t) {
        zv::StoreFrame(system, t, {0.25F, 0.5F});
        zv::StoreFrame(microphone, t, {0.5F, 0.75F});
    }
    double checksum = 0;
    for (auto _ : state) {
        zv::FillBlock(mix);
        zv::FinishBlock(mix);
        if (mix.nextBlockFrame == zv::ringFrames) {
            mix.nextBlockFrame = 0;
        }
        checksum += static_cast<double>(mix.block[959]);
    }
    state.counters["checksum"] = checksum / static_cast<double>(state.iterations());
}

void CopyBytes(benchmark::State& state, std::size_t size) {
    const std::vector<std::byte> from(size, std::byte{1});
    std::vector<std::byte> to(size);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), size);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
}

constexpr zv::SourceFormat stereoFloat48{48000, 2, 32, 0, true};
constexpr zv::SourceFormat stereoFloat44{44100, 2, 32, 0, true};
constexpr zv::SourceFormat surroundInteger24{48000, 6, 24, 0, false};
constexpr zv::SourceFormat monoInteger16{48000, 1, 16, 0, false};
constexpr zv::SourceFormat surroundFloat48{48000, 8, 32, 0, true};

BENCHMARK_CAPTURE(CopyBytes, BytesOfAPacket, 3840);
BENCHMARK_CAPTURE(ConvertAndStore, StereoFloat48000, stereoFloat48);
BENCHMARK_CAPTURE(ConvertAndStore, StereoFloat44100, stereoFloat44);
BENCHMARK_CAPTURE(Resample, StereoFloat44100, stereoFloat44);
BENCHMARK_CAPTURE(ConvertAndStore, SurroundFloat48000, surroundFloat48);
BENCHMARK_CAPTURE(Resample, SurroundFloat48000, surroundFloat48);
BENCHMARK_CAPTURE(ConvertAndStore, SurroundInteger24At48000, surroundInteger24);
BENCHMARK_CAPTURE(ConvertAndStore, MonoInteger16At48000, monoInteger16);
BENCHMARK_CAPTURE(CopyBytes, BytesOfTwoRingBlocks, 2 * 480 * 16);
BENCHMARK(MixBlock);

}  // namespace

BENCHMARK_MAIN();
