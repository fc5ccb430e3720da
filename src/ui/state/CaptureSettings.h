// The one capture engine, and what passes between it and the settings.
#pragma once

#include <cstdint>

#include "capture/CaptureEngine.h"
#include "core/Text.h"

namespace zv {

/// The one engine of the process. Its operations belong to the worker of a capture job or a poll; the interface
/// thread reads the atomics.
CaptureEngine& Engine();

/// What the settings ask for at this moment. Forces `codec` and `encoder` of the settings first. Interface thread.
CaptureConfig MakeCaptureConfig();

struct RecordingStatus {
    bool recording = false;
    Text path;  ///< always empty
    std::int64_t elapsedSeconds = 0;
};

/// Whether a manual recording runs, and for how long. Interface thread.
RecordingStatus GetRecordingStatus();

}  // namespace zv
