// An FFmpeg child with all that feeds it, and what every command line of such a child is made of.
//
// FFmpeg is an outside program that the user supplies. It is found here, and driven by the lines that begin here.
#pragma once

#include <cstdint>
#include <memory>

#include "audio/AudioCapture.h"
#include "capture/SegmentRelay.h"
#include "core/Text.h"
#include "platform/ChildProcess.h"
#include "video/VideoCapture.h"

namespace zv {

/// A field that is null is absent. A replay has `video` and, with sound, `audio`; a recording has either those two or
/// `relay` alone; a save has neither.
struct EncoderProcess {
    Owned<Process> process;          ///< set from a successful StartChild until StopChild
    Owned<ProcessInput> stdinWrite;  ///< used for the quit command only
    Owned<Job> job;
    std::unique_ptr<AudioCapture> audio;
    std::unique_ptr<VideoCapture> video;
    std::unique_ptr<SegmentRelay> relay;
};

/// How long the child of a replay or of a recording is given to end by itself.
inline constexpr std::uint32_t childStopMs = 30000;

/// A set handle alone says nothing: true only while the child has not ended.
bool IsChildRunning(const EncoderProcess& process);

/// True when a feeder exists and its thread has ended or failed.
bool HasStopped(const std::unique_ptr<VideoCapture>& video);
bool HasStopped(const std::unique_ptr<AudioCapture>& audio);

/// Clears the three handles, and stops and destroys every feeder.
void ResetProcess(EncoderProcess& process);

/// Full path of FFmpeg: the variable ZV_FFMPEG, then the folder of the program, then the search path. Empty: none.
Text FindFfmpeg();

/// One argument in the Windows command-line convention, always in double quotes.
Text QuoteArgument(TextView text);

/// The options for the feeders in `process`, from the inputs to the audio codec, with a blank at the end.
Text BuildEncoderInputs(const EncoderProcess& process);

}  // namespace zv
