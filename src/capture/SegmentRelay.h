// Lets an FFmpeg child follow a live HLS ring as if it were one endless transport stream.
//
// One thread watches the playlist and writes every finished segment, in order and in full, to a pipe. It moves bytes
// and knows only file names.
#pragma once

#include <atomic>
#include <memory>

#include "core/Text.h"

namespace zv {

class SegmentRelay {
public:
    SegmentRelay();
    ~SegmentRelay();  ///< stops
    SegmentRelay(const SegmentRelay&) = delete;
    SegmentRelay& operator=(const SegmentRelay&) = delete;

    /// True when the pipe stands and a reader may connect.
    bool Start(const Text& replayFolder);

    /// Lets the segment in hand go to its end, but no longer than 6 seconds; then the thread has ended.
    void Stop();

    const Text& PipeName() const;

    std::atomic<bool> running{false};

private:
    struct Worker;
    std::unique_ptr<Worker> worker_;
};

}  // namespace zv
