#include "fake/VideoCapture.h"

#include <algorithm>

#include "fake/Calls.h"

namespace zv {

using fake::Call;
using fake::TheVideo;

struct VideoWorker {
    static void SetError(VideoCapture& video, const Text& error) {
        const std::lock_guard lock(video.errorMutex_);
        video.error_ = error;
    }
};

namespace fake {

VideoCaptureControls& TheVideo() {
    static VideoCaptureControls controls;
    return controls;
}

void ResetVideo() { TheVideo() = {}; }

void FailVideo(VideoCapture& video, const Text& error) {
    VideoWorker::SetError(video, error);
    video.running = false;
}

}  // namespace fake

VideoCapture::VideoCapture() {
    const Call call("VideoCapture");
    TheVideo().alive.push_back(this);
}

VideoCapture::~VideoCapture() {
    const Call call("~VideoCapture");
    std::erase(TheVideo().alive, this);
}

bool VideoCapture::Start(const Text& monitorDevice, const VideoFormat& format) {
    const Call call("VideoCapture::Start");
    TheVideo().starts.push_back({monitorDevice, format});
    if (call.Fails()) {
        fake::FailVideo(*this, TheVideo().startError);
        return false;
    }
    pipeName_ = TheVideo().pipeName;
    running = true;
    return true;
}

void VideoCapture::Stop() {
    const Call call("VideoCapture::Stop");
    running = false;
}

Text VideoCapture::Error() const {
    const std::lock_guard lock(errorMutex_);
    return error_;
}

}  // namespace zv
