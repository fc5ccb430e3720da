#include "capture/CaptureEngine.h"

#include <algorithm>

#include "capture/CaptureFiles.h"
#include "platform/Clock.h"
#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/Folders.h"

namespace zv {
namespace {

bool HasConfiguration(const CaptureEngine& engine, const CaptureConfig& config) {
    CaptureConfig present;
    present.width = engine.width;
    present.height = engine.height;
    present.fps = engine.fps;
    present.bitrateMbps = engine.bitrateMbps;  // clamped: a value outside of the range is never the present one
    present.encoder = engine.encoder;
    present.codec = engine.codec;
    present.gameAudioEnabled = engine.gameAudioEnabled;
    present.micEnabled = engine.micEnabled;
    present.monitorDevice = engine.monitorDevice;
    present.captureCursor = engine.captureCursor;
    return present == config;
}

void TakeConfiguration(CaptureEngine& engine, const CaptureConfig& config) {
    engine.width = config.width;
    engine.height = config.height;
    engine.fps = config.fps;
    engine.bitrateMbps = std::clamp(config.bitrateMbps, 5, 200);
    engine.encoder = config.encoder;
    engine.codec = config.codec;
    engine.gameAudioEnabled = config.gameAudioEnabled;
    engine.micEnabled = config.micEnabled;
    engine.monitorDevice = config.monitorDevice;
    engine.captureCursor = config.captureCursor;
}

bool IsOfferedSize(std::int32_t width, std::int32_t height) {
    return (width == 1920 && height == 1080) || (width == 2560 && height == 1440) || (width == 3840 && height == 2160);
}

bool IsOfferedRate(std::int32_t fps) { return fps == 30 || fps == 60 || fps == 120 || fps == 240; }

/// A folder for this process alone. It is not removed at the end, so that the logs survive a failure.
Text CacheFolderName() {
    const Text folder = JoinPath(TemporaryFolder(), u"ZVReelsMax");
    return JoinPath(folder, DecimalUnsigned(OwnProcessId()) + u"-" + DecimalUnsigned(TickMs()));
}

}  // namespace

CaptureEngine::~CaptureEngine() { StopAll(); }

bool CaptureEngine::Configure(const CaptureConfig& config) {
    if (HasConfiguration(*this, config) && !ffmpegPath.empty() && FindFfmpeg() == ffmpegPath) {
        return true;
    }
    if (IsChildRunning(recording)) {
        statusText = u"Stop recording before changing resolution, FPS or audio.";
        return false;
    }
    if (!IsOfferedSize(config.width, config.height) || !IsOfferedRate(config.fps)) {
        statusText = u"Choose 1080p, 1440p or 4K at 30, 60, 120 or 240 FPS.";
        return false;
    }
    if (replay.process) {
        StopChild(replay, childStopMs);
    }
    replayRunning = false;
    TakeConfiguration(*this, config);
    ffmpegPath = FindFfmpeg();
    if (cacheDir.empty()) {
        cacheDir = CacheFolderName();
        if (!MakeFolder(cacheDir)) {
            statusText = u"Cannot create capture cache.";
            state = EngineState::Failed;
            return false;
        }
    }
    const bool found = !ffmpegPath.empty();
    state = found ? EngineState::Ready : EngineState::Failed;
    statusText = found ? u"Ready: H.264 desktop capture with selected resolution, FPS and audio."
                       : u"FFmpeg missing. Run the build script to configure the runtime.";
    return found;
}

}  // namespace zv
