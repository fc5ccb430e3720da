// A video worker without a thread: it runs from a successful start until it is stopped or a test makes it fail.
#pragma once

#include <functional>
#include <vector>

#include "video/VideoCapture.h"

namespace zv::fake {

struct VideoStart {
    Text monitorDevice;
    VideoFormat format;
};

struct VideoCaptureControls {
    std::vector<VideoStart> starts;
    std::vector<VideoCapture*> alive;  ///< every worker that has not been destroyed
    Text startError = u"Video could not start.";
    Text pipeName = u"video pipe";
};

/// FailCall for "VideoCapture::Start" makes it return false with `startError`.
VideoCaptureControls& TheVideo();
void ResetVideo();

/// Puts the worker into the state after its thread has failed.
void FailVideo(VideoCapture& video, const Text& error);

}  // namespace zv::fake
