// The program's data folders under the user's local application data.
#pragma once

#include "core/Text.h"

namespace zv {

/// Full paths, fixed at start-up for the life of the process.
struct AppFolders {
    Text root;
    Text logs;
    Text crash;  ///< created, never used
    Text history;
    Text reports;   ///< created, never used
    Text profiles;  ///< created, never used
    bool operator==(const AppFolders&) const = default;
};

/// The one record of the process. Interface thread.
AppFolders& CurrentAppFolders();

/// `folder`, one separator of the platform, `name`; both verbatim.
Text Below(TextView folder, TextView name);

/// The six paths from "LOCALAPPDATA"; a value that is missing or has 260 units or more counts as ".".
AppFolders MakeAppFolders();

/// Creates the folders in field order. Returns false at the first failure.
bool CreateAppFolders(const AppFolders& folders);

/// The folder of the logs and the session marker, from a second reading of "LOCALAPPDATA": missing counts as ".",
/// but a value of 260 units or more counts as empty.
Text DataFolder();

}  // namespace zv
