// A recording until the user stops it: from the segments of a running replay, or with a capture of its own.
//
// Either way the file is a fragmented MP4 under a working name, which gets its final name only when the child ended by
// itself. A working file that was not renamed is kept.
#include <filesystem>
#include <system_error>
#include <utility>

#include "capture/CaptureEngine.h"
#include "capture/CaptureFiles.h"
#include "capture/FfmpegCommandLine.h"
#include "core/CreateFolder.h"
#include "platform/Clock.h"
#include "platform/Files.h"

namespace zv {
namespace {

constexpr std::uint32_t passMs = 25;
constexpr int mediaPasses = 160;   // 4 seconds
constexpr int outputPasses = 480;  // 12 seconds

/// Throws the file system's exception if the files cannot be examined.
bool CanWriteRecording(const Text& outputPath) {
    return CreateParentFolder(outputPath) && !PathExists(outputPath) && !PathExists(WorkingName(outputPath));
}

bool WaitForBufferedMedia(CaptureEngine& engine) {
    for (int pass = 0; pass < mediaPasses && engine.BufferedSeconds() < 1; ++pass) {
        SleepMs(passMs);
    }
    return engine.BufferedSeconds() >= 1;
}

/// Returns true once the remuxing child has written media and still runs.
bool WaitForOutput(const EncoderProcess& process, const Text& workingName) {
    for (int pass = 0; pass < outputPasses && IsChildRunning(process) && !HasMediaData(workingName); ++pass) {
        SleepMs(passMs);
    }
    return IsChildRunning(process) && HasMediaData(workingName);
}

bool StartFromReplay(CaptureEngine& engine, const Text& workingName) {
    EncoderProcess& recording = engine.recording;
    recording.relay = std::make_unique<SegmentRelay>();
    const bool started = recording.relay->Start(engine.replayDir) &&
                         engine.StartChild(recording, RemuxArguments(recording.relay->PipeName(), workingName),
                                           JoinPath(engine.cacheDir, u"recording-remux.log")) &&
                         WaitForOutput(recording, workingName);
    if (!started) {
        engine.statusText =
            u"Recording could not start from replay. Check the recording folder and audio device; details are in "
            u"recording-remux.log.";
    }
    return started;
}

bool StartOwnCapture(CaptureEngine& engine, const Text& workingName) {
    engine.recording.relay.reset();  // left by a failed start; a child with a relay gets no quit command
    return engine.StartEncoder(engine.recording, RecordingArguments(workingName),
                               JoinPath(engine.cacheDir, u"recording.log"));
}

}  // namespace

bool CaptureEngine::StartRecording(const Text& outputPath) {
    if (IsChildRunning(recording)) {
        return false;
    }
    if (recording.process) {
        StopChild(recording, childStopMs);
    }
    if (!CanWriteRecording(outputPath)) {
        statusText = u"Cannot create recording file (folder denied or file exists).";
        return false;
    }
    recordingPath = outputPath;
    const bool fromReplay = IsChildRunning(replay);
    if (fromReplay && !WaitForBufferedMedia(*this)) {
        statusText = u"Replay is still warming up. Try Record again in a moment.";
        return false;
    }
    try {
        const Text workingName = WorkingName(outputPath);
        if (!(fromReplay ? StartFromReplay(*this, workingName) : StartOwnCapture(*this, workingName))) {
            StopChild(recording, childStopMs);
            std::error_code ignored;
            std::filesystem::remove(ToPath(workingName), ignored);
            state = EngineState::Failed;
            return false;
        }
        statusText = u"Recording started. Stop Recording to finalize video and selected audio.";
    } catch (...) {
        StopChild(recording, childStopMs);
        state = EngineState::Failed;
        throw;
    }
    state = EngineState::Recording;
    return true;
}

void CaptureEngine::FinishRecording() {
    if (!recording.process) {
        return;
    }
    const Text workingName = WorkingName(recordingPath);
    const bool saved = StopChild(recording, childStopMs) && HasMediaData(workingName) &&
                       Succeeded(MoveFileReplacing(workingName, recordingPath));
    state = saved ? EngineState::Ready : EngineState::Failed;
    statusText = saved ? u"Recording saved: " + recordingPath
                       : u"Recording failed or did not finalize. See " + JoinPath(cacheDir, u"recording.log");
}

}  // namespace zv
