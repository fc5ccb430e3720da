// Starting video, sound and FFmpeg together.
//
// The start counts only once FFmpeg's progress file shows that frames arrive, and in demanding modes only once the
// sustained rate has reached 90 percent of the target. There is no retry: a failure ends everything that was started
// and leaves one sentence. Every wait is a wait for the child's end, so that a child that dies ends it at once.
#include <filesystem>
#include <fstream>
#include <system_error>

#include "capture/CaptureEngine.h"
#include "capture/CaptureFiles.h"
#include "capture/FfmpegCommandLine.h"
#include "capture/SpeedCheck.h"
#include "core/CommandLine.h"
#include "platform/Clock.h"
#include "platform/Files.h"

namespace zv {
namespace {

constexpr int framePasses = 60;  // of 250 ms: about 15 seconds
constexpr std::uint32_t framePassMs = 250;
constexpr std::uint32_t measurePassMs = 100;

bool FeederHasStopped(const EncoderProcess& process) { return HasStopped(process.video) || HasStopped(process.audio); }

/// The sentence of the feeder that stopped; the video's comes first.
Text FeederError(const EncoderProcess& process) {
    if (HasStopped(process.video)) {
        return process.video->Error();
    }
    return HasStopped(process.audio) ? process.audio->Error() : Text();
}

bool StartVideo(CaptureEngine& engine, EncoderProcess& process) {
    VideoFormat format;
    format.width = static_cast<std::uint32_t>(engine.config.width);
    format.height = static_cast<std::uint32_t>(engine.config.height);
    format.fps = static_cast<std::uint32_t>(engine.config.fps);
    format.bitrateMbps = static_cast<std::uint32_t>(engine.config.bitrateMbps);
    process.video = std::make_unique<VideoCapture>();
    if (process.video->Start(engine.config.monitorDevice, format)) {
        return true;
    }
    engine.statusText = process.video->Error();
    process.video.reset();
    return false;
}

bool StartAudio(CaptureEngine& engine, EncoderProcess& process) {
    if (!engine.config.gameAudioEnabled && !engine.config.micEnabled) {
        return true;
    }
    process.audio = std::make_unique<AudioCapture>();
    if (process.audio->Start(engine.config.gameAudioEnabled, engine.config.micEnabled)) {
        return true;
    }
    engine.statusText = process.audio->Error();
    process.audio.reset();
    process.video.reset();
    return false;
}

bool WaitForFrames(CaptureEngine& engine, EncoderProcess& process, const Text& progressPath, const Text& logPath) {
    const std::int64_t threshold = FrameThreshold(engine.config.fps);
    for (int pass = 0; pass < framePasses && IsChildRunning(process); ++pass) {
        if (FeederHasStopped(process)) {
            engine.statusText = FeederError(process);
            engine.StopChild(process, childStopMs);
            return false;
        }
        if (FramesHaveReached(ReadFileCapped(progressPath), threshold)) {
            return true;
        }
        WaitForExit(*process.process, framePassMs);
    }
    engine.StopChild(process, childStopMs);
    engine.statusText = u"GPU recording could not start. No slow GDI fallback was used. Details: " + logPath;
    return false;
}

bool AllRun(const EncoderProcess& process) { return IsChildRunning(process) && !FeederHasStopped(process); }

/// Frames a second over the window, which ends early if the child or a feeder stops.
std::int32_t MeasureRate(const EncoderProcess& process, std::uint32_t windowMs) {
    const std::uint64_t begin = TickMs();
    const std::uint64_t framesBefore = process.video->encodedFrames;
    while (TickMs() - begin < windowMs && AllRun(process)) {
        WaitForExit(*process.process, measurePassMs);
    }
    const std::uint64_t elapsedMs = TickMs() - begin;
    return FrameRate(process.video->encodedFrames - framesBefore, elapsedMs);
}

void LogMeasurement(const CaptureEngine& engine, const VideoCapture& video, std::int32_t measured) {
    SpeedMeasurement measurement;
    measurement.width = engine.config.width;
    measurement.height = engine.config.height;
    measurement.target = engine.config.fps;
    measurement.measured = measured;
    measurement.stats = FormatPerformanceStats(video);
    std::ofstream log(ToPath(JoinPath(engine.cacheDir, u"performance.log")), std::ios::app | std::ios::binary);
    log << PerformanceLine(measurement);
}

bool CheckSpeed(CaptureEngine& engine, EncoderProcess& process, const Text& logPath) {
    std::int32_t measured = 0;
    for (const std::uint32_t windowMs : {2000U, 5000U}) {
        measured = MeasureRate(process, windowMs);
        LogMeasurement(engine, *process.video, measured);
        if (IsFastEnough(measured, engine.config.fps) || !AllRun(process)) {
            break;
        }
    }
    if (!AllRun(process)) {
        const Text reason = FeederHasStopped(process) ? FeederError(process) : u"Encoder exited. See " + logPath;
        engine.StopChild(process, childStopMs);
        engine.statusText = u"Capture stopped during speed check: " + reason;
        return false;
    }
    if (!IsFastEnough(measured, engine.config.fps)) {
        engine.StopChild(process, childStopMs);
        engine.measuredFps = measured;
        engine.statusText = u"Speed check: " + Decimal(measured) + u" / " + Decimal(engine.config.fps) +
                            u" FPS. Paused: choose Game friendly (60 FPS) in Settings > Capture.";
        return false;
    }
    return true;
}

}  // namespace

bool CaptureEngine::StartEncoder(EncoderProcess& process, const Text& outputArguments, const Text& logPath) {
    if (ffmpegPath.empty()) {
        statusText = u"FFmpeg is missing. Run the launcher.";
        return false;
    }
    if (!StartVideo(*this, process) || !StartAudio(*this, process)) {
        return false;
    }
    const Text progressPath = logPath + u".progress";
    std::error_code ignored;
    std::filesystem::remove(ToPath(progressPath), ignored);  // old counts must never be read
    const Text arguments = u"-progress " + QuoteArgument(progressPath) + u" -stats_period 0.5 " +
                           BuildEncoderInputs(process) + u"-c:v copy " + outputArguments;
    if (!StartChild(process, arguments, logPath)) {
        statusText = u"Cannot start NVENC encoder. See " + logPath;
        return false;
    }
    if (!WaitForFrames(*this, process, progressPath, logPath)) {
        return false;
    }
    if (NeedsSpeedCheck(config.width, config.fps) && !CheckSpeed(*this, process, logPath)) {
        return false;
    }
    fpsSampleTick = 0;
    measuredFps = 0;
    pollsSinceVideoLoss = 0;
    return true;
}

}  // namespace zv
