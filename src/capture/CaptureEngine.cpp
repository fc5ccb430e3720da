#include "capture/CaptureEngine.h"

#include <algorithm>

#include "capture/CacheFolder.h"
#include "core/FfmpegRuntime.h"

namespace zv {
namespace {

bool IsOfferedSize(std::int32_t width, std::int32_t height) {
    return (width == 1920 && height == 1080) || (width == 2560 && height == 1440) || (width == 3840 && height == 2160);
}

bool IsOfferedRate(std::int32_t fps) { return fps == 30 || fps == 60 || fps == 120 || fps == 240; }

}  // namespace

CaptureEngine::~CaptureEngine() {
    try {
        StopAll();
    } catch (...) {
        // The owners of children and workers end them.
        replayRunning = false;
    }
}

bool CaptureEngine::Configure(const CaptureConfig& requested) {
    if (requested == config && !ffmpegPath.empty() && FindFfmpeg() == ffmpegPath) {
        return true;
    }
    if (IsChildRunning(recording)) {
        statusText = u"Stop recording before changing resolution, FPS or audio.";
        return false;
    }
    if (!IsOfferedSize(requested.width, requested.height) || !IsOfferedRate(requested.fps)) {
        statusText = u"Choose 1080p, 1440p or 4K at 30, 60, 120 or 240 FPS.";
        return false;
    }
    if (replay.process) {
        StopChild(replay, childStopMs);
    }
    replayRunning = false;
    config = requested;
    config.bitrateMbps = std::clamp(config.bitrateMbps, 5, 200);
    ffmpegPath = FindFfmpeg();
    if (cacheDir.empty() && !MakeCacheFolder(cacheDir)) {
        statusText = u"Cannot create capture cache.";
        state = EngineState::Failed;
        return false;
    }
    const bool found = !ffmpegPath.empty();
    state = found ? EngineState::Ready : EngineState::Failed;
    statusText = found ? u"Ready: H.264 desktop capture with selected resolution, FPS and audio."
                       : u"FFmpeg missing. Run the build script to configure the runtime.";
    return found;
}

}  // namespace zv
