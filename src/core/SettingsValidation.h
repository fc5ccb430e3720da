// Forces the settings into what the capture path can do.
#pragma once

#include <vector>

#include "core/Settings.h"

namespace zv {

struct SettingsIssue {
    Text key;
    Text message;           ///< for a person
    bool repaired = false;  ///< false: the problem remains
    bool operator==(const SettingsIssue&) const = default;
};

/// Repairs the record in place and answers what it found. Creates the library folders. Interface thread.
std::vector<SettingsIssue> ValidateSettings(Settings& settings);

}  // namespace zv
