// The replay buffer: a long-running FFmpeg that keeps the last seconds as one-second segment files in a folder.
//
// The ring is FFmpeg's own sliding window. The list size in segments is the length in seconds, because every segment
// starts with the key frame that the video stream has once a second.
#include <algorithm>
#include <filesystem>
#include <system_error>

#include "capture/CaptureEngine.h"
#include "capture/CaptureFiles.h"
#include "capture/FfmpegCommandLine.h"
#include "capture/ReplayPlaylist.h"
#include "core/CreateFolder.h"
#include "platform/Clock.h"
#include "platform/Files.h"

namespace zv {
namespace {

void RemoveReplayFolder(const Text& folder) {
    if (!folder.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(ToPath(folder), ignored);
    }
}

}  // namespace

bool CaptureEngine::StartReplay(bool enable, std::int32_t seconds) {
    if (enable && IsChildRunning(recording) && !IsChildRunning(replay)) {
        statusText = u"Stop manual recording before starting replay.";
        return false;
    }
    const std::int32_t clamped = std::clamp(seconds, 15, 300);
    if (enable && clamped == replaySeconds && IsChildRunning(replay)) {
        return true;
    }
    if (replay.process) {
        StopChild(replay, childStopMs);
    }
    replayRunning = false;
    replaySeconds = clamped;
    RemoveReplayFolder(replayDir);
    if (!enable) {
        statusText = u"Replay stopped.";
        return true;
    }
    replayDir = JoinPath(cacheDir, u"replay-" + DecimalUnsigned(TickMs()));
    if (!CreateFolder(replayDir)) {
        statusText = u"Cannot create replay cache.";
        return false;
    }
    try {
        if (!StartEncoder(replay, RingArguments(replaySeconds, replayDir), JoinPath(cacheDir, u"replay.log"))) {
            return false;
        }
        statusText = u"Replay is buffering video and selected audio. Allow 2 seconds before saving.";
    } catch (...) {
        StopChild(replay, childStopMs);
        throw;
    }
    replayRunning = true;
    return true;
}

void CaptureEngine::StopAll() {
    if (recording.process) {
        FinishRecording();
    }
    if (replay.process) {
        StopChild(replay, childStopMs);
    }
    replayRunning = false;
    RemoveReplayFolder(replayDir);
}

std::int32_t CaptureEngine::BufferedSeconds() {
    return replayRunning ? SecondsIn(ReadFileCapped(PlaylistPath(replayDir))) : 0;
}

}  // namespace zv
