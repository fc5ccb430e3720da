#include "core/Settings.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <map>
#include <system_error>
#include <type_traits>
#include <variant>

#include "core/AppFolders.h"
#include "core/CreateFolder.h"
#include "core/OneByteText.h"
#include "platform/Files.h"
#include "platform/Folders.h"

namespace zv {
namespace {

Settings currentSettings;

using Field = std::variant<std::uint32_t Settings::*, bool Settings::*, Text Settings::*>;

struct KeyRow {
    TextView key;
    Field field;
};

// The plain keys in the order of the file, around the two lists.
constexpr KeyRow rowsBeforeRoots[] = {
    {u"monitorDevice", &Settings::monitorDevice},
    {u"captureCursor", &Settings::captureCursor},
    {u"width", &Settings::width},
    {u"height", &Settings::height},
    {u"fps", &Settings::fps},
    {u"bitrateMbps", &Settings::bitrateMbps},
    {u"replaySeconds", &Settings::replaySeconds},
    {u"instantReplay", &Settings::instantReplay},
    {u"micEnabled", &Settings::micEnabled},
    {u"gameAudioEnabled", &Settings::gameAudioEnabled},
    {u"startWithWindows", &Settings::startWithWindows},
    {u"minimizeToTray", &Settings::minimizeToTray},
    {u"showFpsOverlay", &Settings::showFpsOverlay},
    {u"performanceMode", &Settings::performanceMode},
    {u"notifications", &Settings::notifications},
    {u"overlayOpacity", &Settings::overlayOpacity},
    {u"overlayScale", &Settings::overlayScale},
    {u"codec", &Settings::codec},
    {u"encoder", &Settings::encoder},
    {u"theme", &Settings::theme},
    {u"accent", &Settings::accent},
    {u"clipsFolder", &Settings::clipsFolder},
    {u"recordingsFolder", &Settings::recordingsFolder},
};
constexpr KeyRow rowsAfterRoots[] = {
    {u"ffmpegPath", &Settings::ffmpegPath},
    {u"captureRoot", &Settings::captureRoot},
};
constexpr KeyRow rowsAfterBinds[] = {
    {u"screenshotsFolder", &Settings::screenshotsFolder},
};

// Written with the value 1; only their presence is read.
constexpr TextView audioVersionKey = u"audioCaptureVersion";
constexpr TextView replayVersionKey = u"replayUiVersion";

constexpr TextView previousRootKey = u"previousCaptureRoot";
constexpr std::size_t previousRootsRead = 64;  // more are written, but not read
constexpr TextView bindModsKey = u"bindMods";
constexpr TextView bindKeysKey = u"bindKeys";
constexpr std::uint32_t modifierMask = 7;
constexpr std::int32_t firstBindKey = 48;
constexpr std::int32_t lastBindKey = 135;

Text DefaultCaptureRoot() { return Below(FolderOf(KnownFolder::Videos), u"Zorvel"); }

using ValueMap = std::map<Text, Text, std::less<>>;

const Text* Find(const ValueMap& values, TextView key) {
    const auto found = values.find(key);
    return found == values.end() ? nullptr : &found->second;
}

Text Indexed(TextView key, std::size_t index) { return Text(key) + DecimalUnsigned(index); }

ValueMap ParseValues(TextView text) {
    ValueMap values;
    for (const TextView line : SplitLines(text)) {
        const std::size_t equals = line.find(u'=');
        if (equals != TextView::npos) {
            values.insert_or_assign(Text(line.substr(0, equals)), Text(line.substr(equals + 1)));
        }
    }
    return values;
}

std::uint32_t ParseUnsigned(TextView text, std::uint32_t fallback) {
    return static_cast<std::uint32_t>(ParseInt(text, static_cast<std::int32_t>(fallback)));
}

void ReadRow(const KeyRow& row, const ValueMap& values, Settings& settings) {
    const Text* value = Find(values, row.key);
    if (value == nullptr) {
        return;
    }
    std::visit(
        [&](auto field) {
            auto& target = settings.*field;
            using Type = std::remove_reference_t<decltype(target)>;
            if constexpr (std::is_same_v<Type, bool>) {
                target = ParseBool(*value, target);
            } else if constexpr (std::is_same_v<Type, Text>) {
                target = *value;
            } else {
                target = ParseUnsigned(*value, target);
            }
        },
        row.field);
}

// A file without a version key gets the values that were introduced with the key.
void Migrate(const ValueMap& values, Settings& settings) {
    if (Find(values, replayVersionKey) == nullptr) {
        settings.instantReplay = true;
    }
    if (Find(values, audioVersionKey) == nullptr) {
        settings.micEnabled = false;
        settings.gameAudioEnabled = true;
    }
}

void ReadPreviousRoots(const ValueMap& values, Settings& settings) {
    for (std::size_t index = 0; index < previousRootsRead; ++index) {
        const Text* root = Find(values, Indexed(previousRootKey, index));
        if (root != nullptr && !root->empty()) {
            settings.previousCaptureRoots.push_back(*root);
        }
    }
}

void ReadBinds(const ValueMap& values, Settings& settings) {
    for (std::size_t index = 0; index < settings.bindMods.size(); ++index) {
        if (const Text* mods = Find(values, Indexed(bindModsKey, index))) {
            settings.bindMods[index] = ParseUnsigned(*mods, settings.bindMods[index]) & modifierMask;
        }
        if (const Text* key = Find(values, Indexed(bindKeysKey, index))) {
            const std::int32_t parsed = ParseInt(*key, static_cast<std::int32_t>(settings.bindKeys[index]));
            if (parsed >= firstBindKey && parsed <= lastBindKey) {
                settings.bindKeys[index] = static_cast<std::uint32_t>(parsed);
            }
        }
    }
}

void WriteLine(OneByteWriter& file, TextView key, TextView value) {
    file.Write(Text(key) + u"=" + Text(value) + u"\n");
}

void WriteRow(OneByteWriter& file, const KeyRow& row, const Settings& settings) {
    std::visit(
        [&](auto field) {
            const auto& value = settings.*field;
            using Type = std::remove_cvref_t<decltype(value)>;
            if constexpr (std::is_same_v<Type, bool>) {
                WriteLine(file, row.key, value ? u"1" : u"0");
            } else if constexpr (std::is_same_v<Type, Text>) {
                WriteLine(file, row.key, value);
            } else {
                WriteLine(file, row.key, DecimalUnsigned(value));
            }
        },
        row.field);
}

void WriteList(OneByteWriter& file, TextView key, const std::vector<Text>& values) {
    for (std::size_t index = 0; index < values.size(); ++index) {
        WriteLine(file, Indexed(key, index), values[index]);
    }
}

bool IsSpace(char16_t unit) { return unit == u' ' || (unit >= u'\t' && unit <= u'\r'); }

}  // namespace

Settings& CurrentSettings() { return currentSettings; }

Text SettingsPath() {
    const Text folder = Below(FolderOf(KnownFolder::LocalData), u"ZVReelsMax");
    if (const std::error_code error = CreateFolders(ToPath(folder))) {
        throw std::filesystem::filesystem_error("create_directories", ToPath(folder), error);
    }
    return Below(folder, u"settings.ini");
}

void ResetSettings(Settings& settings) {
    settings = Settings();
    settings.theme = u"Zorvel Purple";
    settings.captureRoot = DefaultCaptureRoot();
    settings.clipsFolder = Below(settings.captureRoot, u"Clips");
    settings.recordingsFolder = Below(settings.captureRoot, u"Recordings");
    settings.screenshotsFolder = Below(FolderOf(KnownFolder::Pictures), u"Zorvel");
    for (const Text* folder : {&settings.clipsFolder, &settings.recordingsFolder, &settings.screenshotsFolder}) {
        CreateFolder(*folder);
    }
}

void LoadSettings(Settings& settings) {
    ResetSettings(settings);
    Text text;
    if (!ReadOneByteText(SettingsPath(), text)) {
        return;
    }
    const ValueMap values = ParseValues(text);
    for (const KeyRow& row : rowsBeforeRoots) {
        ReadRow(row, values, settings);
    }
    for (const KeyRow& row : rowsAfterRoots) {
        ReadRow(row, values, settings);
    }
    for (const KeyRow& row : rowsAfterBinds) {
        ReadRow(row, values, settings);
    }
    Migrate(values, settings);
    if (settings.captureRoot.empty()) {
        settings.captureRoot = DefaultCaptureRoot();
    }
    ReadPreviousRoots(values, settings);
    ReadBinds(values, settings);
}

void SaveSettings(const Settings& settings) {
    OneByteWriter file(SettingsPath(), OpenFor::Replacing);
    WriteLine(file, audioVersionKey, u"1");
    WriteLine(file, replayVersionKey, u"1");
    for (const KeyRow& row : rowsBeforeRoots) {
        WriteRow(file, row, settings);
    }
    WriteList(file, previousRootKey, settings.previousCaptureRoots);
    for (const KeyRow& row : rowsAfterRoots) {
        WriteRow(file, row, settings);
    }
    for (std::size_t index = 0; index < settings.bindMods.size(); ++index) {
        WriteLine(file, Indexed(bindModsKey, index), DecimalUnsigned(settings.bindMods[index]));
        WriteLine(file, Indexed(bindKeysKey, index), DecimalUnsigned(settings.bindKeys[index]));
    }
    for (const KeyRow& row : rowsAfterBinds) {
        WriteRow(file, row, settings);
    }
}

bool ParseBool(TextView text, bool fallback) {
    if (text == u"1") {
        return true;
    }
    return text == u"0" ? false : fallback;
}

std::int32_t ParseInt(TextView text, std::int32_t fallback) {
    text.remove_prefix(static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), IsSpace) - text.begin()));
    const bool negative = text.starts_with(u'-');
    if (negative || text.starts_with(u'+')) {
        text.remove_prefix(1);
    }
    constexpr std::int64_t tooLarge = 1LL << 32;
    std::int64_t value = 0;
    std::size_t digits = 0;
    for (; digits < text.size() && text[digits] >= u'0' && text[digits] <= u'9'; ++digits) {
        value = std::min(value * 10 + (text[digits] - u'0'), tooLarge);
    }
    value = negative ? -value : value;
    const bool fits =
        value >= std::numeric_limits<std::int32_t>::min() && value <= std::numeric_limits<std::int32_t>::max();
    return digits > 0 && fits ? static_cast<std::int32_t>(value) : fallback;
}

}  // namespace zv
