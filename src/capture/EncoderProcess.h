// An FFmpeg child and the workers that feed it.
#pragma once

#include <cstdint>
#include <memory>

#include "audio/AudioCapture.h"
#include "capture/SegmentRelay.h"
#include "platform/ChildProcess.h"
#include "video/VideoCapture.h"

namespace zv {

/// A null field is absent. A replay has `video` and, with sound, `audio`; a recording has either those two or
/// `relay` alone; a save has neither.
struct EncoderProcess {
    Owned<Process> process;          ///< set from a successful StartChild until StopChild
    Owned<ProcessInput> stdinWrite;  ///< used for the quit command only
    Owned<Job> job;
    std::unique_ptr<AudioCapture> audio;
    std::unique_ptr<VideoCapture> video;
    std::unique_ptr<SegmentRelay> relay;
};

/// How long the child of a replay or of a recording may take to end by itself.
inline constexpr std::uint32_t childStopMs = 30000;

/// True if a child is held and has not ended.
bool IsChildRunning(const EncoderProcess& process);

/// True if a feeder exists and its thread has ended or failed.
bool HasStopped(const std::unique_ptr<VideoCapture>& video);
bool HasStopped(const std::unique_ptr<AudioCapture>& audio);

/// Clears the three handles, and stops and destroys every feeder.
void ResetProcess(EncoderProcess& process);

}  // namespace zv
