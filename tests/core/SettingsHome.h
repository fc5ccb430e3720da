// A home folder for each test, which contains the settings file and the library folders.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "core/Settings.h"
#include "fake/Folders.h"
#include "platform/Files.h"
#include "support/FileBytes.h"
#include "support/TemporaryFolder.h"

namespace zv {

/// `names` with the platform's separator instead of "/".
inline Text Slashed(TextView names) {
    Text text(names);
    for (char16_t& unit : text) {
        unit = unit == u'/' ? pathSeparator : unit;
    }
    return text;
}

class SettingsHome : public testing::Test {
protected:
    SettingsHome() {
        fake::TheFolders() = {Home() + Slashed(u"/Videos"), Home() + Slashed(u"/Pictures"), Home() + Slashed(u"/Local"),
                              Home() + Slashed(u"/Cache")};
    }

    Text Home() const { return FromPath(folder_.Path()); }
    const std::filesystem::path& HomePath() const { return folder_.Path(); }
    std::filesystem::path File() const { return folder_.Path() / "Local" / "ZVReelsMax" / "settings.ini"; }

    void WriteFile(const std::string& bytes) const {
        std::filesystem::create_directories(File().parent_path());
        support::WriteBytes(File(), bytes);
    }

    static Settings Defaults() {
        Settings settings;
        ResetSettings(settings);
        return settings;
    }
    static Settings Loaded() {
        Settings settings;
        LoadSettings(settings);
        return settings;
    }
    /// The settings from a file that holds both version keys and these lines.
    Settings LoadedFrom(const std::string& lines) const {
        WriteFile("audioCaptureVersion=1\r\nreplayUiVersion=1\r\n" + lines);
        return Loaded();
    }
    std::string Saved(const Settings& settings) const {
        SaveSettings(settings);
        return support::ReadBytes(File());
    }

private:
    support::TemporaryFolder folder_;
};

}  // namespace zv
