// The capture engine: owns FFmpeg's children and the workers that feed them.
//
// It does not depend on the interface. Every operation reports by a boolean and by a sentence in statusText. It has no
// lock: at most one worker uses it at a time (ui/commands/CaptureJobs.h), and the interface thread reads only the
// atomics.
#pragma once

#include <atomic>
#include <cstdint>

#include "capture/EncoderProcess.h"
#include "core/Text.h"

namespace zv {

enum class EngineState : std::int32_t {
    Idle = 0,       ///< not yet configured
    Ready = 1,      ///< configured, FFmpeg found, no manual recording
    Recording = 2,  ///< a manual recording runs
    Failed = 3      ///< the last configuration or recording failed, or FFmpeg is missing
};

/// The engine's configuration.
struct CaptureConfig {
    std::int32_t width = 2560;
    std::int32_t height = 1440;
    std::int32_t fps = 60;
    std::int32_t bitrateMbps = 40;  ///< the engine clamps it to 5 to 200
    Text encoder = u"Auto";         ///< stored and compared only
    Text codec = u"H264";           ///< stored and compared only
    bool gameAudioEnabled = true;
    bool micEnabled = false;
    Text monitorDevice;          ///< the system's device name of the monitor to capture
    bool captureCursor = false;  ///< stored and compared only
    bool operator==(const CaptureConfig&) const = default;
};

/// The outcome of one health poll.
struct CapturePollResult {
    std::int32_t bufferedSeconds = 0;  ///< seconds of media that the replay's playlist lists
    bool changed = false;              ///< state or replayRunning changed, or the poll itself failed
    Text status;                       ///< the text to show when `changed`, otherwise empty
};

class CaptureEngine {
public:
    CaptureEngine() = default;
    ~CaptureEngine();  ///< finishes a recording, stops the replay, removes its folder
    CaptureEngine(const CaptureEngine&) = delete;
    CaptureEngine& operator=(const CaptureEngine&) = delete;

    // CaptureEngine.cpp

    /// Returns true if the engine is configured and FFmpeg is present. A changed configuration stops a running replay;
    /// starting it again is the caller's decision.
    bool Configure(const CaptureConfig& requested);

    // ReplayBuffer.cpp

    /// If `enable` is true, ensures that a replay of `seconds` (clamped to 15 to 300) runs. Otherwise stops the replay.
    bool StartReplay(bool enable, std::int32_t seconds);

    /// Whole seconds that the replay's playlist lists; 0 without a running replay.
    std::int32_t BufferedSeconds();

    /// Ends the recording, then the replay, and removes the replay folder.
    void StopAll();

    // ReplaySave.cpp

    /// Joins the segments that the playlist lists at this moment into `outputPath`. The replay keeps running.
    bool SaveReplayClip(const Text& outputPath);

    // ManualRecording.cpp

    bool StartRecording(const Text& outputPath);
    void FinishRecording();

    // HealthPoll.cpp, with PollCapture

    /// Detects threads and children that have died, stops the activity they belong to and reports why. Restarts
    /// nothing.
    void PollHealth();

    // EncoderStart.cpp

    /// Starts video, audio and FFmpeg for `process`. Returns true once frames arrive fast enough.
    bool StartEncoder(EncoderProcess& process, const Text& outputArguments, const Text& logPath);

    // ChildControl.cpp

    /// Starts FFmpeg in its job. A failure leaves `process` empty, its feeders stopped.
    bool StartChild(EncoderProcess& process, const Text& arguments, const Text& logPath);

    /// Returns true only if the child ended by itself within the time with exit code 0. Leaves `process` empty; if it
    /// held no child, the stopped relay stays.
    bool StopChild(EncoderProcess& process, std::uint32_t timeoutMs);

    Text ffmpegPath;     ///< empty: missing
    Text statusText;     ///< the latest outcome or detail of any operation
    Text recordingPath;  ///< final path of the current or last manual recording
    Text cacheDir;       ///< made once by Configure
    Text replayDir;      ///< the current replay folder inside cacheDir
    CaptureConfig config;
    EncoderProcess recording;
    EncoderProcess replay;
    std::atomic<EngineState> state{EngineState::Idle};
    std::atomic<bool> replayRunning{false};
    std::int32_t replaySeconds = 60;  ///< in force, 15 to 300
    std::atomic<std::int32_t> measuredFps{0};
    std::uint64_t fpsSampleTick = 0;  ///< 0: no sample
    std::uint64_t fpsSampleFrames = 0;
    std::int64_t missingFrames = 0;        ///< in thousandths, since the capture's first sample
    std::atomic<bool> fallsBehind{false};  ///< a second of frames was missing since then
    std::int32_t pollsSinceVideoLoss = 0;  ///< polls that found the video of a recording's own capture ended
};

/// One health poll, for a worker that uses the engine. An exception becomes a result that reports the failed poll.
CapturePollResult PollCapture(CaptureEngine& engine);

}  // namespace zv
