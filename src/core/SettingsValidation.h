// Clamps the settings to what the capture path supports.
#pragma once

#include <vector>

#include "core/Settings.h"

namespace zv {

struct SettingsIssue {
    Text key;
    Text message;           ///< for the user
    bool repaired = false;  ///< false: the problem remains
    bool operator==(const SettingsIssue&) const = default;
};

/// Repairs the record in place and returns the issues found. Creates the library folders. Interface thread.
std::vector<SettingsIssue> ValidateSettings(Settings& settings);

}  // namespace zv
