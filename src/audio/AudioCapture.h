// The audio worker: one thread that mixes system sound and microphone on the wall clock and writes raw interleaved
// 32-bit float little-endian stereo at 48 kHz to a pipe.
#pragma once

#include <atomic>
#include <memory>

#include "core/Text.h"

namespace zv {

class AudioCapture {
public:
    AudioCapture();
    ~AudioCapture();  ///< stops
    AudioCapture(const AudioCapture&) = delete;
    AudioCapture& operator=(const AudioCapture&) = delete;

    /// Starts the thread and waits up to 8000 ms until its pipe exists. On false Error() tells why.
    bool Start(bool gameAudio, bool microphone);

    /// Ends and joins the thread. In any state, any number of times. A stop leaves no error text.
    void Stop();

    /// A copy of the failure's sentence, empty while nothing failed.
    Text Error() const;

    /// The name under which the reader opens the stream, valid after Start.
    const Text& PipeName() const;

    std::atomic<bool> running{false};

private:
    struct Worker;
    std::unique_ptr<Worker> worker_;
};

}  // namespace zv
