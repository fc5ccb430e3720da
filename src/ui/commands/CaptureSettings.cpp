#include "ui/commands/CaptureSettings.h"

#include <filesystem>

#include "core/Settings.h"
#include "ui/commands/Status.h"

namespace zv {

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

bool TrySaveSettings() {
    try {
        SaveSettings(CurrentSettings());
        return true;
    } catch (const std::filesystem::filesystem_error&) {
        return false;
    }
}

void SaveInterfaceSettings() {
    if (!TrySaveSettings()) {
        ShowStatus(settingsNotSaved);
    }
}

}  // namespace zv
