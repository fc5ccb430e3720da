// The folder of one process for the files of its captures: FFmpeg's logs, the ring of the replay, the copies of a save.
// It is not removed at the end, so that the logs survive a failure.
#pragma once

#include "core/Text.h"

namespace zv {

/// The parent of these folders; it may not exist.
Text CaptureLogsFolder();

/// Creates a new folder for this process, which only the user can access. Sets its path in any case. Returns false on
/// failure.
bool MakeCacheFolder(Text& folder);

/// Removes what killed processes have left beside `cacheFolder`: rings and copies of saves. Keeps their logs, and the
/// files of processes that run. May take seconds.
void RemoveLeftovers(const Text& cacheFolder);

}  // namespace zv
