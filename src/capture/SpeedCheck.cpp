#include "capture/SpeedCheck.h"

#include <algorithm>

#include "capture/TextLines.h"

namespace zv {

std::int64_t FrameThreshold(std::int32_t fps) { return std::max(4, fps / 4); }

bool FramesHaveReached(std::string_view progress, std::int64_t threshold) {
    constexpr std::string_view key = "frame=";
    bool reached = false;
    ForEachLine(progress, [&reached, threshold, key](std::string_view line) {
        if (line.starts_with(key)) {
            const std::optional<std::int64_t> count = LeadingInteger(line.substr(key.size()));
            reached = reached || (count && *count >= threshold);
        }
    });
    return reached;
}

bool NeedsSpeedCheck(std::int32_t width, std::int32_t fps) { return width == 3840 || fps >= 120; }

std::int32_t FrameRate(std::uint64_t frames, std::uint64_t elapsedMs) {
    return static_cast<std::int32_t>(frames * 1000 / std::max<std::uint64_t>(elapsedMs, 1));
}

bool IsFastEnough(std::int32_t measured, std::int32_t fps) {
    return std::int64_t{measured} * 10 >= std::int64_t{fps} * 9;
}

Text FormatPerformanceStats(const VideoCapture& video) {
    return u"GPU encode/transport us=" + DecimalUnsigned(video.encodeMicros) + u" pipe wait us=" +
           DecimalUnsigned(video.pipeWaitMicros);
}

std::string PerformanceLine(const SpeedMeasurement& measurement) {
    return Narrow(Decimal(measurement.width) + u"x" + Decimal(measurement.height) + u" target=" +
                  Decimal(measurement.target) + u" measured=" + Decimal(measurement.measured) + u" " +
                  measurement.stats) +
           "\n";
}

}  // namespace zv
