// An engine whose video is encoded beforehand and whose system sound is a tone of 440 Hz; its pipes, threads, children
// and files are real, and so is FFmpeg.
#pragma once

#include "capture/CaptureEngine.h"
#include "core/Text.h"

namespace zv::windows {

/// Sets up the fakes and the environment. Every command line of FFmpeg is appended to `commandsPath`.
void SetReplayScene(const Text& commandsPath);

/// 1080p at 30 frames a second, with system sound.
CaptureConfig SceneConfig();

}  // namespace zv::windows
