// Decides from frame counts and rates whether an encoder has started and is fast enough. No clock, no process.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/Text.h"
#include "video/VideoCapture.h"

namespace zv {

/// Frames that FFmpeg must have reported before an encoder counts as started.
std::int64_t FrameThreshold(std::int32_t fps);

/// Returns true if a "frame=" line of FFmpeg's progress text has a count of at least `threshold`.
bool FramesHaveReached(std::string_view progress, std::int64_t threshold);

/// Returns true for the demanding modes, whose rate is measured.
bool NeedsSpeedCheck(std::int32_t width, std::int32_t fps);

/// Frames a second, truncated. A time below 1 ms counts as 1 ms.
std::int32_t FrameRate(std::uint64_t frames, std::uint64_t elapsedMs);

/// Returns true from 90 percent of the target on.
bool IsFastEnough(std::int32_t measured, std::int32_t fps);

/// The worker's smoothed times, for diagnosis.
Text FormatPerformanceStats(const VideoCapture& video);

struct SpeedMeasurement {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t target = 0;    ///< frames a second
    std::int32_t measured = 0;  ///< frames a second
    Text stats;                 ///< of FormatPerformanceStats
};

/// One line of performance.log, with its line feed.
std::string PerformanceLine(const SpeedMeasurement& measurement);

}  // namespace zv
