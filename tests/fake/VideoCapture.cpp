#include "fake/VideoCapture.h"

#include <algorithm>

#include "fake/Calls.h"

namespace zv {

using fake::Call;
using fake::TheVideo;

struct VideoWorker {
    static void Fail(VideoCapture& video, const Text& error) { video.worker_.Fail(error); }
};

namespace fake {

VideoCaptureControls& TheVideo() {
    static VideoCaptureControls controls;
    return controls;
}

void ResetVideo() { TheVideo() = {}; }

void FailVideo(VideoCapture& video, const Text& error) { VideoWorker::Fail(video, error); }

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

}  // namespace zv
