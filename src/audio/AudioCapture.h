// The audio worker: one thread that mixes system sound and microphone on the wall clock and writes raw interleaved
// 32-bit float little-endian stereo at 48 kHz to a pipe.
#pragma once

#include <atomic>

#include "core/Text.h"
#include "core/Worker.h"

namespace zv {

class AudioCapture {
public:
    AudioCapture();
    ~AudioCapture();  ///< stops
    AudioCapture(const AudioCapture&) = delete;
    AudioCapture& operator=(const AudioCapture&) = delete;

    /// Stops a running capture, starts the thread and waits up to 8000 ms until its pipe exists. If it returns false,
    /// Error() has the reason.
    bool Start(bool gameAudio, bool microphone);

    /// Stops and joins the thread. May be called in any state and repeatedly. A stop leaves no error text.
    void Stop();

    /// A copy of the failure's sentence, empty while nothing failed.
    Text Error() const { return worker_.Error(); }

    /// The name under which the reader opens the stream, valid after Start.
    const Text& PipeName() const { return pipeName_; }

    std::atomic<bool> running{false};  ///< from the pipe's existence until the thread ends or fails

private:
    friend struct AudioWorker;

    Text pipeName_;
    Worker worker_{running};
};

}  // namespace zv
