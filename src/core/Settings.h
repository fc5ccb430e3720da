// The user's settings and the file that stores them.
//
// The interface thread owns the record; workers receive copies. The file has one key=value a line. A missing or
// malformed key keeps its default and is not reported.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "core/Text.h"

namespace zv {

struct Settings {
    std::uint32_t width = 1920;  ///< pixels
    std::uint32_t height = 1080;
    std::uint32_t fps = 120;
    std::uint32_t bitrateMbps = 40;
    std::uint32_t replaySeconds = 60;
    Text monitorDevice;
    bool captureCursor = false;
    bool instantReplay = true;
    bool micEnabled = false;
    bool gameAudioEnabled = true;
    bool startWithWindows = false;  ///< stored only
    bool minimizeToTray = true;
    bool showFpsOverlay = false;
    bool performanceMode = true;  ///< stored only
    bool notifications = true;
    std::uint32_t overlayOpacity = 92;  ///< stored and clamped only
    std::uint32_t overlayScale = 100;   ///< stored and clamped only
    Text codec = u"H264";
    Text encoder = u"Auto";
    Text theme = u"ZV Purple";        ///< until the first reset, which sets "Zorvel Purple"
    std::uint32_t accent = 16145547;  ///< stored only
    Text captureRoot;
    Text ffmpegPath;
    std::vector<Text> previousCaptureRoots;                  ///< still scanned by the library
    std::array<std::uint32_t, 4> bindMods{1, 1, 3, 3};       ///< alt 1, control 2, shift 4
    std::array<std::uint32_t, 4> bindKeys{88, 121, 82, 83};  ///< virtual keys: X, F10, R, S
    Text clipsFolder;
    Text recordingsFolder;
    Text screenshotsFolder;
    bool operator==(const Settings&) const = default;
};

/// The one record of the process. Interface thread.
Settings& CurrentSettings();

/// The file's path; creates its folder. Throws a filesystem_error named "create_directories" if that fails.
Text SettingsPath();

/// Sets every field to its default and creates the three library folders if possible.
void ResetSettings(Settings& settings);

/// Resets, then reads the file if there is one. Throws as SettingsPath does.
void LoadSettings(Settings& settings);

/// Rewrites the file in place. Throws as SettingsPath does; other failures are not reported.
void SaveSettings(const Settings& settings);

/// "1" is true and "0" is false; everything else is the fallback.
bool ParseBool(TextView text, bool fallback);

/// The decimal number at the start of the text, after white space and a sign. The fallback if there are no digits or
/// it exceeds 32 signed bits.
std::int32_t ParseInt(TextView text, std::int32_t fallback);

}  // namespace zv
