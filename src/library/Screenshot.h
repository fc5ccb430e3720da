// The picture of one monitor as a file among the captures. Everything here blocks and belongs to a worker: it touches
// neither the engine nor the settings, only the copies that it is given.
#pragma once

#include "core/Text.h"

namespace zv {

/// What a screenshot ends with when something nobody expected breaks it off.
inline constexpr TextView screenshotBrokenOff = u"Screenshot failed. Check Gallery > Folders.";

/// Takes the monitor of that name, the primary one for an empty name, into a new file in `folder`. Answers the text
/// to show.
Text SaveScreenshot(const Text& folder, const Text& monitorDevice);

/// Writes what the monitor shows, at its own size, to `path`. Creates the folder. False leaves no file behind.
bool GrabMonitor(const Text& monitorDevice, const Text& path);

}  // namespace zv
