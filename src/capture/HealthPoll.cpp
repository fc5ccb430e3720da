// The health poll: detects a thread or a child that has died, stops the activity that it belongs to and reports why.
// Nothing is restarted.
#include "capture/CaptureEngine.h"

#include <algorithm>

#include "capture/SpeedCheck.h"
#include "platform/Clock.h"

namespace zv {
namespace {

constexpr std::uint64_t sampleMs = 2000;
constexpr std::int64_t noticeableLossMs = 1000;
constexpr std::int32_t displayMessagePolls = 6;  // three seconds; the interface handles its messages between two polls

/// Without the frames that a slow machine leaves out, the picture is shorter than the sound. A thousandth is the
/// difference of two clocks.
void CountMissingFrames(CaptureEngine& engine, std::uint64_t frames, std::uint64_t elapsedMs) {
    const std::int64_t due = static_cast<std::int64_t>(elapsedMs) * engine.config.fps * 999 / 1000;
    const std::int64_t missing = engine.missingFrames + due - static_cast<std::int64_t>(frames) * 1000;
    engine.missingFrames = std::max<std::int64_t>(missing, 0);
    if (engine.missingFrames >= noticeableLossMs * engine.config.fps) {
        engine.fallsBehind = true;
    }
}

void ForgetMissingFrames(CaptureEngine& engine) {
    engine.missingFrames = 0;
    engine.fallsBehind = false;
}

void SampleFrameRate(CaptureEngine& engine) {
    const VideoCapture* source = engine.replay.video ? engine.replay.video.get() : engine.recording.video.get();
    if (source == nullptr) {
        engine.fpsSampleTick = 0;
        engine.fpsSampleFrames = 0;
        engine.measuredFps = 0;
        ForgetMissingFrames(engine);
        return;
    }
    const std::uint64_t tick = TickMs();
    const std::uint64_t frames = source->encodedFrames;
    if (engine.fpsSampleTick != 0 && frames >= engine.fpsSampleFrames) {
        const std::uint64_t elapsedMs = tick - engine.fpsSampleTick;
        if (elapsedMs < sampleMs) {
            return;
        }
        engine.measuredFps = FrameRate(frames - engine.fpsSampleFrames, elapsedMs);
        CountMissingFrames(engine, frames - engine.fpsSampleFrames, elapsedMs);
    } else {
        ForgetMissingFrames(engine);
    }
    engine.fpsSampleTick = tick;
    engine.fpsSampleFrames = frames;
}

void EndRecording(CaptureEngine& engine, const Text& reason) {
    engine.StopChild(engine.recording, childStopMs);
    engine.state = EngineState::Failed;
    engine.statusText = reason;
}

void EndReplay(CaptureEngine& engine, const Text& reason) {
    engine.StopChild(engine.replay, childStopMs);
    engine.replayRunning = false;
    engine.statusText = reason;
}

Text ErrorOr(const AudioCapture& audio, TextView otherwise) {
    const Text error = audio.Error();
    return error.empty() ? Text(otherwise) : error;
}

/// A child that is held but has ended.
bool HasDied(const EncoderProcess& process) { return process.process && !IsChildRunning(process); }

/// The replay's video has ended. A recording that reads from the replay gets no more input, so it is saved first.
void EndReplayWithoutVideo(CaptureEngine& engine) {
    const Text error = engine.replay.video->Error();
    if (engine.recording.relay && engine.recording.process) {
        engine.FinishRecording();
    }
    EndReplay(engine, error);
}

/// A child that runs, or that has ended well at the end of its input.
bool CanBeSaved(const EncoderProcess& process) {
    return process.process && (IsRunning(*process.process) || ExitCode(*process.process) == 0);
}

/// A display change ends the video of a recording before its message reaches the interface. The job of that message
/// saves the recording, so the first polls after the loss do not end it.
bool MayBeDisplayChange(CaptureEngine& engine) {
    return HasStopped(engine.recording.video) && CanBeSaved(engine.recording) &&
           engine.pollsSinceVideoLoss++ < displayMessagePolls;
}

}  // namespace

void CaptureEngine::PollHealth() {
    SampleFrameRate(*this);
    if (HasStopped(recording.video)) {
        EndRecording(*this, recording.video->Error());
    }
    if (HasStopped(replay.video)) {
        EndReplayWithoutVideo(*this);
    }
    if (HasStopped(recording.audio)) {
        EndRecording(*this, ErrorOr(*recording.audio, u"Recording audio stopped unexpectedly."));
    }
    if (HasStopped(replay.audio)) {
        EndReplay(*this, ErrorOr(*replay.audio, u"Replay audio stopped unexpectedly."));
    }
    if (HasDied(recording)) {
        EndRecording(*this, u"Recording encoder stopped unexpectedly. Logs: " + cacheDir);
    }
    if (HasDied(replay)) {
        EndReplay(*this, u"Replay encoder stopped unexpectedly. Logs: " + cacheDir);
    }
}

CapturePollResult PollCapture(CaptureEngine& engine) {
    try {
        const bool replayBefore = engine.replayRunning;
        const EngineState stateBefore = engine.state;
        if (!MayBeDisplayChange(engine)) {
            engine.PollHealth();
        }
        CapturePollResult result;
        result.bufferedSeconds = engine.BufferedSeconds();
        result.changed = engine.replayRunning != replayBefore || engine.state != stateBefore;
        if (result.changed) {
            result.status = engine.statusText;
        }
        return result;
    } catch (...) {
        return {0, true, u"Capture check failed. Try restarting replay."};
    }
}

}  // namespace zv
