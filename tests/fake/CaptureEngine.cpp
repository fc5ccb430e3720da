#include "fake/CaptureEngine.h"

#include "capture/CacheFolder.h"
#include "platform/Files.h"
#include "platform/Folders.h"

namespace zv {
namespace {

using fake::Call;
using fake::TheEngine;

/// Checks that only one thread at a time is inside the engine.
class EngineCall {
public:
    EngineCall() {
        if (++TheEngine().inside > 1) {
            TheEngine().overlapped = true;
        }
    }
    ~EngineCall() { --TheEngine().inside; }
    EngineCall(const EngineCall&) = delete;
    EngineCall& operator=(const EngineCall&) = delete;
};

}  // namespace

CaptureEngine::~CaptureEngine() = default;

bool CaptureEngine::Configure(const CaptureConfig& requested) {
    const EngineCall inside;
    const Call call("Configure");
    TheEngine().configs.push_back(requested);
    if (TheEngine().unchanged) {
        return true;
    }
    statusText = call.Fails() ? u"Not configured" : u"Configured";
    state = call.Fails() ? EngineState::Failed : EngineState::Ready;
    return !call.Fails();
}

bool CaptureEngine::StartReplay(bool enable, std::int32_t seconds) {
    const EngineCall inside;
    const Call call("StartReplay");
    TheEngine().replayStarts.push_back({enable, seconds});
    if (TheEngine().unchanged) {
        return true;
    }
    replayRunning = enable && !call.Fails();
    statusText = call.Fails() ? u"Replay not started" : enable ? u"Replay on" : u"Replay off";
    return !call.Fails();
}

bool CaptureEngine::SaveReplayClip(const Text& outputPath) {
    const EngineCall inside;
    const Call call("SaveReplayClip");
    TheEngine().clips.push_back(outputPath);
    statusText = call.Fails() ? Text(u"Replay not saved") : u"Replay saved: " + outputPath;
    return !call.Fails();
}

bool CaptureEngine::StartRecording(const Text& outputPath) {
    const EngineCall inside;
    const Call call("StartRecording");
    TheEngine().recordings.push_back(outputPath);
    recordingPath = outputPath;
    state = call.Fails() ? EngineState::Failed : EngineState::Recording;
    statusText = call.Fails() ? u"Recording not started" : u"Recording started";
    return !call.Fails();
}

void CaptureEngine::FinishRecording() {
    const EngineCall inside;
    const Call call("FinishRecording");
    state = call.Fails() ? EngineState::Failed : EngineState::Ready;
    statusText = call.Fails() ? u"Recording not saved" : u"Recording saved";
}

void CaptureEngine::StopAll() {
    const EngineCall inside;
    const Call call("StopAll");
    replayRunning = false;
    state = state == EngineState::Recording ? EngineState::Ready : state.load();
    statusText = u"Stopped";
}

void CaptureEngine::PollHealth() {}
std::int32_t CaptureEngine::BufferedSeconds() { return TheEngine().pollResult.bufferedSeconds; }
bool CaptureEngine::StartEncoder(EncoderProcess&, const Text&, const Text&) { return false; }
bool CaptureEngine::StartChild(EncoderProcess&, const Text&, const Text&) { return false; }
bool CaptureEngine::StopChild(EncoderProcess&, std::uint32_t) { return false; }

Text CaptureLogsFolder() { return JoinPath(CacheFolder(), u"ZVReelsMax"); }

void RemoveLeftovers(const Text&) {
    const EngineCall inside;
    const Call call("RemoveLeftovers");
}

CapturePollResult PollCapture(CaptureEngine&) {
    const EngineCall inside;
    const Call call("PollCapture");
    return TheEngine().pollResult;
}

namespace fake {

EngineControls& TheEngine() {
    static EngineControls controls;
    return controls;
}

void ResetEngine(CaptureEngine& engine) {
    EngineControls& controls = TheEngine();
    controls.configs.clear();
    controls.replayStarts.clear();
    controls.clips.clear();
    controls.recordings.clear();
    controls.pollResult = {};
    controls.unchanged = false;
    controls.overlapped = false;
    engine.state = EngineState::Idle;
    engine.replayRunning = false;
    engine.fallsBehind = false;
    engine.statusText.clear();
}

}  // namespace fake
}  // namespace zv
