// Saves a picture of one monitor. All functions block and run on a worker thread. They use only their arguments,
// neither the engine nor the settings.
#pragma once

#include "core/Text.h"

namespace zv {

/// The status of a screenshot that an exception has ended.
inline constexpr TextView screenshotBrokenOff = u"Screenshot failed. Check Gallery > Folders.";

/// Saves a picture of the monitor of this name to a new file in `folder`. An empty name selects the primary monitor.
/// Returns the status text.
Text SaveScreenshot(const Text& folder, const Text& monitorDevice);

/// Writes the monitor's content in full size to `path`. Creates the folder. Returns false and leaves no file on
/// failure.
bool GrabMonitor(const Text& monitorDevice, const Text& path);

}  // namespace zv
