#include "ui/state/Engine.h"

#include "platform/Clock.h"
#include "ui/state/UiGlobals.h"

namespace zv {

CaptureEngine& Engine() {
    static CaptureEngine engine;
    return engine;
}

RecordingStatus GetRecordingStatus() {
    RecordingStatus status;
    status.recording = Engine().state == EngineState::Recording;
    if (status.recording) {
        constexpr std::int64_t nsPerSecond = 1'000'000'000;
        status.elapsedSeconds = (SteadyNs() - Ui().capture.recordingStartTime) / nsPerSecond;
    }
    return status;
}

}  // namespace zv
