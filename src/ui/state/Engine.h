// The one capture engine of the process.
#pragma once

#include <cstdint>

#include "capture/CaptureEngine.h"
#include "core/Text.h"

namespace zv {

/// The worker of a capture job or of a poll calls its operations; the interface thread reads the atomics.
CaptureEngine& Engine();

struct RecordingStatus {
    bool recording = false;
    Text path;  ///< always empty
    std::int64_t elapsedSeconds = 0;
};

/// Whether a manual recording runs, and for how long. Interface thread.
RecordingStatus GetRecordingStatus();

}  // namespace zv
