#include "ui/state/CaptureSettings.h"

#include "core/Settings.h"
#include "platform/Clock.h"
#include "ui/state/UiGlobals.h"

namespace zv {

CaptureEngine& Engine() {
    static CaptureEngine engine;
    return engine;
}

CaptureConfig MakeCaptureConfig() {
    Settings& settings = CurrentSettings();
    settings.codec = u"H264";
    settings.encoder = u"Auto";
    CaptureConfig config;
    config.width = static_cast<std::int32_t>(settings.width);
    config.height = static_cast<std::int32_t>(settings.height);
    config.fps = static_cast<std::int32_t>(settings.fps);
    config.bitrateMbps = static_cast<std::int32_t>(settings.bitrateMbps);
    config.encoder = settings.encoder;
    config.codec = settings.codec;
    config.gameAudioEnabled = settings.gameAudioEnabled;
    config.micEnabled = settings.micEnabled;
    config.monitorDevice = settings.monitorDevice;
    config.captureCursor = settings.captureCursor;
    return config;
}

RecordingStatus GetRecordingStatus() {
    RecordingStatus status;
    status.recording = Engine().state == EngineState::Recording;
    if (status.recording) {
        constexpr std::int64_t nsPerSecond = 1'000'000'000;
        status.elapsedSeconds = (SteadyNs() - Ui().recordingStartTime) / nsPerSecond;
    }
    return status;
}

}  // namespace zv
