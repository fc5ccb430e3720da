#include "audio/AudioClock.h"

#include <algorithm>
#include <cmath>

namespace zv {
namespace {

constexpr std::int64_t unitsPerSecond = 10000000;
constexpr double framesPerUnit = 0.0048;

/// A difference of two counters that wraps instead of overflowing: stamps come from drivers.
std::int64_t Difference(std::int64_t later, std::int64_t earlier) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(later) - static_cast<std::uint64_t>(earlier));
}

}  // namespace

std::int64_t TargetFrame(std::int64_t now, std::int64_t captureStartTime) {
    return (now - outputLag - captureStartTime) * outputRate / unitsPerSecond;
}

FrameRange PacketRange(std::int64_t position, std::int64_t captureStartTime, std::uint32_t frames,
                       std::uint32_t sampleRate) {
    const double exact = static_cast<double>(Difference(position, captureStartTime)) * framesPerUnit;
    const std::int64_t first = std::llround(exact);
    const std::int64_t end = std::llround(frames * 48000.0 / sampleRate + exact);
    return {first, std::max(first, end)};
}

std::int64_t PositionEndingNow(std::int64_t now, std::uint32_t frames, std::uint32_t sampleRate) {
    return now - static_cast<std::int64_t>(frames) * unitsPerSecond / sampleRate;
}

std::int64_t CountedFrame(std::int64_t startTime, std::int64_t captureStartTime, std::int64_t framesBefore) {
    return (startTime - captureStartTime) * outputRate / unitsPerSecond + framesBefore;
}

}  // namespace zv
