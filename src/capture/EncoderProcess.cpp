#include "capture/EncoderProcess.h"

namespace zv {

bool IsChildRunning(const EncoderProcess& process) { return process.process && IsRunning(*process.process); }

bool HasStopped(const std::unique_ptr<VideoCapture>& video) { return video && !video->running; }

bool HasStopped(const std::unique_ptr<AudioCapture>& audio) { return audio && !audio->running; }

void ResetProcess(EncoderProcess& process) {
    process.stdinWrite.reset();
    process.process.reset();
    process.job.reset();
    process.audio.reset();
    process.video.reset();
    process.relay.reset();
}

}  // namespace zv
