#include "core/SettingsValidation.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

#include "core/CreateFolder.h"
#include "platform/Files.h"

namespace zv {
namespace {

using Issues = std::vector<SettingsIssue>;

struct ClampRow {
    TextView key;
    std::uint32_t Settings::*field;
    std::int32_t minimum;
    std::int32_t maximum;
};

constexpr ClampRow sizeRows[] = {
    {u"width", &Settings::width, 640, 7680},
    {u"height", &Settings::height, 360, 4320},
};
constexpr ClampRow otherRows[] = {
    {u"bitrateMbps", &Settings::bitrateMbps, 5, 200},
    {u"replaySeconds", &Settings::replaySeconds, 15, 300},
    {u"overlayOpacity", &Settings::overlayOpacity, 20, 100},
    {u"overlayScale", &Settings::overlayScale, 75, 150},
};

struct Resolution {
    std::uint32_t width;
    std::uint32_t height;
};

constexpr Resolution resolutions[] = {{1920, 1080}, {2560, 1440}, {3840, 2160}};
constexpr Resolution defaultResolution = {2560, 1440};
constexpr std::uint32_t frameRates[] = {30, 60, 120, 240};
constexpr std::uint32_t defaultFrameRate = 60;

// The theme names of an older version. They do not include the names that the theme buttons write, so a chosen colour
// lasts until the next validation.
constexpr std::array<TextView, 5> themes = {u"ZV Purple", u"Midnight Blue", u"Crimson", u"Emerald", u"Pure Black"};

struct FolderRow {
    TextView key;
    Text Settings::*field;
};

constexpr FolderRow folderRows[] = {
    {u"clipsFolder", &Settings::clipsFolder},
    {u"recordingsFolder", &Settings::recordingsFolder},
    {u"screenshotsFolder", &Settings::screenshotsFolder},
};

void Clamp(const ClampRow& row, Settings& settings, Issues& issues) {
    // Compared as signed: a negative number in the file was read as a large unsigned one and is clamped to the minimum.
    const auto value = static_cast<std::int32_t>(settings.*row.field);
    const std::int32_t clamped = std::clamp(value, row.minimum, row.maximum);
    if (clamped != value) {
        settings.*row.field = static_cast<std::uint32_t>(clamped);
        issues.push_back({Text(row.key), u"Value was outside the supported range and was repaired.", true});
    }
}

void SnapResolution(Settings& settings) {
    const auto known = std::find_if(std::begin(resolutions), std::end(resolutions),
                                    [&](const Resolution& row) { return row.width == settings.width; });
    const Resolution& chosen = known == std::end(resolutions) ? defaultResolution : *known;
    settings.width = chosen.width;
    settings.height = chosen.height;
}

void SnapFrameRate(Settings& settings) {
    if (std::find(std::begin(frameRates), std::end(frameRates), settings.fps) == std::end(frameRates)) {
        settings.fps = defaultFrameRate;
    }
}

void CheckNames(Settings& settings, Issues& issues) {
    if (settings.codec != u"H264") {
        settings.codec = u"H264";
        issues.push_back({u"codec", u"This backend encodes H.264.", true});
    }
    if (std::find(themes.begin(), themes.end(), settings.theme) == themes.end()) {
        settings.theme = u"ZV Purple";
        issues.push_back({u"theme", u"Unknown theme was reset to ZV Purple.", true});
    }
}

void CheckFolder(const FolderRow& row, const Settings& settings, Issues& issues) {
    const Text& folder = settings.*row.field;
    if (folder.empty()) {
        return;
    }
    if (!CreateFolder(folder)) {
        issues.push_back({Text(row.key), u"Folder could not be created. Check permissions.", false});
    }
}

}  // namespace

std::vector<SettingsIssue> ValidateSettings(Settings& settings) {
    Issues issues;
    for (const ClampRow& row : sizeRows) {
        Clamp(row, settings, issues);
    }
    SnapResolution(settings);
    SnapFrameRate(settings);
    for (const ClampRow& row : otherRows) {
        Clamp(row, settings, issues);
    }
    CheckNames(settings, issues);
    for (const FolderRow& row : folderRows) {
        CheckFolder(row, settings, issues);
    }
    return issues;
}

}  // namespace zv
