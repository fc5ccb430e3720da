// Muxing one frame against a memcpy of the same access unit and against FFmpeg's own transport stream muxer.
//
// All three read the same access unit and write into three alternating buffers, as the video worker does. The argument
// is the size of the access unit: 50 Mbit/s at 240 and at 60 frames a second, 200 Mbit/s at 30. The label is a checksum
// of the last output. Compare bytes per second.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "video/TransportStream.h"

namespace {

constexpr std::uint32_t fps = 60;

/// An access unit delimiter and a slice of noise that contains no start code.
std::vector<std::byte> AccessUnit(std::size_t size) {
    std::vector<std::byte> unit = {std::byte{0}, std::byte{0},    std::byte{0},   std::byte{1},
                                   std::byte{9}, std::byte{0xF0}, std::byte{0},   std::byte{0},
                                   std::byte{0}, std::byte{1},    std::byte{0x41}};
    std::uint32_t noise = 1;
    while (unit.size() < size) {
        noise = noise * 1664525U + 1013904223U;
        unit.push_back(static_cast<std::byte>(noise >> 24 | 1U));
    }
    return unit;
}

std::string Checksum(const std::byte* bytes, std::size_t size) {
    std::uint64_t sum = 1469598103934665603U;
    for (std::size_t index = 0; index < size; ++index) {
        sum = (sum ^ std::to_integer<std::uint64_t>(bytes[index])) * 1099511628211U;
    }
    char text[64];
    std::snprintf(text, sizeof text, "%zu bytes, %016llx", size, static_cast<unsigned long long>(sum));
    return text;
}

void CountBytes(benchmark::State& state, std::size_t unitSize) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(unitSize));
}

void OwnMuxer(benchmark::State& state) {
    const auto unit = AccessUnit(static_cast<std::size_t>(state.range(0)));
    std::array<std::vector<std::byte>, 3> slots;
    zv::TsMuxState mux;
    std::uint32_t frame = 0;
    for (auto _ : state) {
        auto& slot = slots[frame % 3];
        zv::MuxFrame(mux, unit, frame++, fps, slot);
        benchmark::DoNotOptimize(slot.data());
        benchmark::ClobberMemory();
    }
    CountBytes(state, unit.size());
    const auto& last = slots[(frame - 1) % 3];
    state.SetLabel(Checksum(last.data(), last.size()));
}

void Memcpy(benchmark::State& state) {
    const auto unit = AccessUnit(static_cast<std::size_t>(state.range(0)));
    std::array<std::vector<std::byte>, 3> slots;
    for (auto& slot : slots) {
        slot.resize(unit.size());
    }
    std::size_t frame = 0;
    for (auto _ : state) {
        auto& slot = slots[frame++ % 3];
        std::memcpy(slot.data(), unit.data(), unit.size());
        benchmark::DoNotOptimize(slot.data());
        benchmark::ClobberMemory();
    }
    CountBytes(state, unit.size());
    state.SetLabel(Checksum(slots[0].data(), slots[0].size()));
}

/// FFmpeg's muxer with its output in memory and its tables once a second.
class PeerMuxer {
public:
    explicit PeerMuxer(std::size_t unitSize) {
        for (auto& slot : slots_) {
            slot.reserve(unitSize * 2 + 4096);
        }
        Require(avformat_alloc_output_context2(&context_, nullptr, "mpegts", nullptr) >= 0);
        AVStream* stream = avformat_new_stream(context_, nullptr);
        stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
        stream->codecpar->codec_id = AV_CODEC_ID_H264;
        stream->codecpar->width = 1920;
        stream->codecpar->height = 1080;
        stream->time_base = {1, 90000};
        constexpr int ioBytes = 188 * 1000;
        context_->pb = avio_alloc_context(static_cast<unsigned char*>(av_malloc(ioBytes)), ioBytes, 1, this, nullptr,
                                          &PeerMuxer::Write, nullptr);
        AVDictionary* options = nullptr;
        av_dict_set(&options, "pat_period", "1", 0);
        av_dict_set(&options, "sdt_period", "100000", 0);
        Require(avformat_write_header(context_, &options) >= 0);
        av_dict_free(&options);
        packet_ = av_packet_alloc();
    }
    ~PeerMuxer() {
        av_write_trailer(context_);
        av_packet_free(&packet_);
        av_free(context_->pb->buffer);
        avio_context_free(&context_->pb);
        avformat_free_context(context_);
    }
    PeerMuxer(const PeerMuxer&) = delete;
    PeerMuxer& operator=(const PeerMuxer&) = delete;

    void Mux(const std::vector<std::byte>& unit, std::int64_t frame) {
        current_ = &slots_[static_cast<std::size_t>(frame % 3)];
        current_->clear();
        packet_->data = const_cast<std::uint8_t*>(reinterpret_cast<const std::uint8_t*>(unit.data()));
        packet_->size = static_cast<int>(unit.size());
        packet_->pts = packet_->dts = frame * (90000 / fps);
        packet_->duration = 90000 / fps;
        packet_->flags = frame % fps == 0 ? AV_PKT_FLAG_KEY : 0;
        Require(av_write_frame(context_, packet_) >= 0);
        avio_flush(context_->pb);
    }
    const std::vector<std::byte>& Output() const { return *current_; }

private:
    static void Require(bool good) {
        if (!good) {
            throw std::runtime_error("FFmpeg's muxer failed");
        }
    }
    static int Write(void* self, std::uint8_t* bytes, int size) {
        auto* slot = static_cast<PeerMuxer*>(self)->current_;
        const auto* from = reinterpret_cast<const std::byte*>(bytes);
        slot->insert(slot->end(), from, from + size);
        return size;
    }

    AVFormatContext* context_ = nullptr;
    AVPacket* packet_ = nullptr;
    std::array<std::vector<std::byte>, 3> slots_;
    std::vector<std::byte>* current_ = &slots_[0];
};

void FfmpegMuxer(benchmark::State& state) {
    const auto unit = AccessUnit(static_cast<std::size_t>(state.range(0)));
    PeerMuxer peer(unit.size());
    std::int64_t frame = 0;
    for (auto _ : state) {
        peer.Mux(unit, frame++);
        benchmark::ClobberMemory();
    }
    CountBytes(state, unit.size());
    state.SetLabel(Checksum(peer.Output().data(), peer.Output().size()));
}

BENCHMARK(OwnMuxer)->Arg(26041)->Arg(104166)->Arg(833333);
BENCHMARK(Memcpy)->Arg(26041)->Arg(104166)->Arg(833333);
BENCHMARK(FfmpegMuxer)->Arg(26041)->Arg(104166)->Arg(833333);

}  // namespace

BENCHMARK_MAIN();
