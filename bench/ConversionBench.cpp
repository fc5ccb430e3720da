// The cost of the colour conversion, beside a plain copy of the picture's bytes and a general-purpose scaler on the
// same pixels. Only the ratios mean something. Each row ends with a checksum of its output.
#include <benchmark/benchmark.h>
extern "C" {
#include <libswscale/swscale.h>
}

#include <cstdint>
#include <cstring>
#include <memory>
#include <random>

#include "platform/software/VideoScaler.h"

namespace zv {
namespace {

constexpr std::uint32_t outWidth = 1920;
constexpr std::uint32_t outHeight = 1080;

/// A desktop of noise, the output frame and the scaler between them.
struct Conversion {
    explicit Conversion(std::uint32_t width, std::uint32_t height) {
        MakeCaptureSurface(device, width, height, source);
        MakeNv12Surface(device, outWidth, outHeight, target);
        OpenVideoProcessing(device, processing);
        MakeVideoScaler(*processing, {width, height, outWidth, outHeight, 60}, scaler);
        MakeScalerViews(*scaler, *source, *target, views);
        std::mt19937 random(1);
        for (std::size_t at = 0; at < source->stride * height; at += 4) {
            const auto pixel = static_cast<std::uint32_t>(random());
            std::memcpy(source->pixels + at, &pixel, 4);
        }
    }
    void ChangeAll() {
        source->changed.Add(
            {0, 0, static_cast<std::int32_t>(source->width), static_cast<std::int32_t>(source->height)});
    }

    GraphicsDevice device;
    Owned<Surface> source;
    Owned<Surface> target;
    Owned<VideoProcessing> processing;
    Owned<VideoScaler> scaler;
    Owned<ScalerViews> views;
};

double Checksum(const std::uint8_t* bytes, std::size_t size) {
    std::uint32_t a = 1;
    std::uint32_t b = 0;
    for (std::size_t at = 0; at < size; ++at) {
        a = (a + bytes[at]) % 65521;
        b = (b + a) % 65521;
    }
    return static_cast<double>(b << 16U | a);
}

void ReportChecksum(benchmark::State& state, const Surface& surface) {
    state.counters["checksum"] = Checksum(surface.pixels, surface.stride * surface.height * 3 / 2);
}

void Copy(benchmark::State& state) {
    Conversion conversion(outWidth, outHeight);
    const std::size_t size = conversion.source->stride * outHeight;
    const PixelMemory copy = AllocatePixels(size);
    for (auto _ : state) {
        std::memcpy(copy.get(), conversion.source->pixels, size);
        benchmark::ClobberMemory();
    }
    state.counters["checksum"] = Checksum(copy.get(), size);
}

void Convert(benchmark::State& state, const ConversionKernels* kernels, std::uint32_t width, std::uint32_t height) {
    if (kernels == nullptr) {
        state.SkipWithError("not supported by this processor");
        return;
    }
    Conversion conversion(width, height);
    conversion.scaler->kernels = kernels;
    for (auto _ : state) {
        conversion.ChangeAll();
        RunScaler(*conversion.scaler, *conversion.views, 0);
        benchmark::ClobberMemory();
    }
    ReportChecksum(state, *conversion.target);
}

void GeneralScaler(benchmark::State& state, std::uint32_t width, std::uint32_t height) {
    Conversion conversion(width, height);
    SwsContext* context =
        sws_getContext(static_cast<int>(width), static_cast<int>(height), AV_PIX_FMT_BGRA, static_cast<int>(outWidth),
                       static_cast<int>(outHeight), AV_PIX_FMT_NV12, SWS_FAST_BILINEAR, nullptr, nullptr, nullptr);
    const std::uint8_t* from[] = {conversion.source->pixels, nullptr, nullptr, nullptr};
    const int fromStride[] = {static_cast<int>(conversion.source->stride), 0, 0, 0};
    std::uint8_t* const to[] = {conversion.target->pixels, conversion.target->chroma, nullptr, nullptr};
    const int toStride[] = {static_cast<int>(conversion.target->stride), static_cast<int>(conversion.target->stride), 0,
                            0};
    for (auto _ : state) {
        sws_scale(context, from, fromStride, 0, static_cast<int>(height), to, toStride);
        benchmark::ClobberMemory();
    }
    sws_freeContext(context);
    ReportChecksum(state, *conversion.target);
}

void StillDesktop(benchmark::State& state) {
    Conversion conversion(outWidth, outHeight);
    for (auto _ : state) {
        RunScaler(*conversion.scaler, *conversion.views, 0);
    }
    ReportChecksum(state, *conversion.target);
}

BENCHMARK(Copy);
BENCHMARK_CAPTURE(Convert, equal_avx512, Avx512Kernels(), 1920, 1080);
BENCHMARK_CAPTURE(Convert, equal_avx2, Avx2Kernels(), 1920, 1080);
BENCHMARK_CAPTURE(Convert, equal_plain, &PlainKernels(), 1920, 1080);
BENCHMARK_CAPTURE(GeneralScaler, equal, 1920, 1080);
BENCHMARK_CAPTURE(Convert, from_1440p_best, &BestKernels(), 2560, 1440);
BENCHMARK_CAPTURE(Convert, from_1440p_plain, &PlainKernels(), 2560, 1440);
BENCHMARK_CAPTURE(GeneralScaler, from_1440p, 2560, 1440);
BENCHMARK(StillDesktop);

}  // namespace
}  // namespace zv

BENCHMARK_MAIN();
