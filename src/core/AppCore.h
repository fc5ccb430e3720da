// The two text files that a session appends to: the log and the activity history.
//
// Neither reports errors, and nothing on disk is trimmed.
#pragma once

#include <mutex>
#include <vector>

#include "core/CapturePresets.h"
#include "core/OneByteText.h"
#include "core/Text.h"

namespace zv {

struct ActivityRow {
    Text time;  ///< local, "2026-11-15 05:09:18"
    Text category;
    Text text;
    bool operator==(const ActivityRow&) const = default;
};

struct ActivityHistory {
    Text path;                      ///< empty: no file
    std::vector<ActivityRow> rows;  ///< the latest 200
};

struct AppCore {
    std::mutex logMutex;
    OneByteWriter logStream;  ///< under logMutex
    Text logPath;
    std::vector<CapturePreset> presets = BuildCapturePresets();
    Text releaseVersion = u"0.3.0";  ///< this and the next three are stored and never read
    Text releaseStatus = u"Not checked";
    Text releaseTitle;
    Text releaseNotes;
    ActivityHistory history;
};

/// The one record of the process.
AppCore& CurrentAppCore();

/// Opens the log and names the history under `data`, creating their folders. Called on the interface thread before
/// anything is written.
void AppLogStart(TextView data);

/// One line "[hh:mm:ss] [level] [category] message", flushed. Any thread.
void AppLogWrite(TextView level, TextView category, TextView message);
void AppLogInfo(TextView category, TextView message);

/// One row of the history. Interface thread only.
void AddActivity(TextView category, TextView text);

}  // namespace zv
