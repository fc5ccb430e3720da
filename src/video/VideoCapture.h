// The video worker: one thread that turns one monitor's desktop into H.264 in a transport stream in a pipe.
//
// The owner reads three figures and an error text. It does not handle frames, and the worker does not handle segments
// or files. The stream has a constant frame rate by construction: one frame a tick, whether the desktop changed or not,
// and every timestamp comes from the count of frames.
#pragma once

#include <atomic>
#include <cstdint>

#include "core/Text.h"
#include "core/Worker.h"
#include "video/VideoFormat.h"

namespace zv {

class VideoCapture {
public:
    VideoCapture();
    ~VideoCapture();  ///< stops
    VideoCapture(const VideoCapture&) = delete;
    VideoCapture& operator=(const VideoCapture&) = delete;

    /// Stops a running capture, starts the thread and waits up to 15000 ms until its pipe exists. If it returns false,
    /// Error() has the reason; it is empty after a time-out. Not from the worker's own thread.
    bool Start(const Text& monitorDevice, const VideoFormat& format);

    /// Stops and joins the thread. May be called in any state and repeatedly. A stop leaves no error text.
    void Stop();

    /// A copy of the failure's sentence, empty while nothing failed.
    Text Error() const { return worker_.Error(); }

    /// The name under which the reader opens the stream, valid after Start.
    const Text& PipeName() const { return pipeName_; }

    std::atomic<bool> running{false};              ///< from the pipe's existence until the thread ends or fails
    std::atomic<std::uint64_t> encodedFrames{0};   ///< frames whose pipe write is known to be complete
    std::atomic<std::uint64_t> encodeMicros{0};    ///< smoothed: acquire, convert, wait, encode and mux of a frame
    std::atomic<std::uint64_t> pipeWaitMicros{0};  ///< smoothed: the part of it spent waiting for the reader

private:
    friend struct VideoWorker;

    Text pipeName_;
    Worker worker_{running};
};

}  // namespace zv
