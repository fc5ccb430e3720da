// The command lines of FFmpeg's children.
#pragma once

#include <cstdint>

#include "capture/EncoderProcess.h"
#include "core/Text.h"

namespace zv {

/// The whole line of a child: the quoted executable, the options of all children, then `arguments`.
Text FfmpegCommandLine(const Text& ffmpegPath, const Text& arguments);

/// The options for the feeders in `process`, from the inputs to the audio codec, with a blank at the end.
Text BuildEncoderInputs(const EncoderProcess& process);

/// Output of a replay: segments of one second in `folder`, and a playlist of the last `seconds` of them.
Text RingArguments(std::int32_t seconds, const Text& folder);

/// Output of a recording with its own capture: a fragmented MP4.
Text RecordingArguments(const Text& output);

/// A recording from the replay: reads segments from a pipe and writes a fragmented MP4.
Text RemuxArguments(const Text& pipeName, const Text& output);

/// A saved replay: joins the files that a concat list names.
Text JoinArguments(const Text& concatPath, const Text& output);

}  // namespace zv
