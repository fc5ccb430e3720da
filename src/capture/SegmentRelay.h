// Feeds an FFmpeg child with a live HLS ring as one endless transport stream.
//
// One thread watches the playlist and writes every finished segment, in order and in full, to a pipe. It does not parse
// the segments. It records no sentence: a failure closes the pipe, which ends FFmpeg.
#pragma once

#include <atomic>
#include <cstdint>

#include "core/Text.h"
#include "core/Worker.h"
#include "platform/Event.h"

namespace zv {

struct RelayLimits {
    std::uint32_t connectMs = 5000;  ///< for the reader to open the pipe
    std::uint32_t writeMs = 5000;    ///< for the reader to accept one block
    std::uint32_t pollMs = 25;       ///< between two reads of the playlist
};

class SegmentRelay {
public:
    SegmentRelay();
    ~SegmentRelay();  ///< stops
    SegmentRelay(const SegmentRelay&) = delete;
    SegmentRelay& operator=(const SegmentRelay&) = delete;

    /// Stops a running relay, starts the thread and waits up to 5000 ms until its pipe exists. Returns true if a reader
    /// may connect.
    bool Start(const Text& replayFolder, const RelayLimits& limits = {});

    /// Sends the rest of the current segment, for 6 seconds at most, and joins the thread. May be called in any state
    /// and repeatedly, but not on the relay's own thread.
    void Stop();

    /// The name under which the reader opens the stream, valid after Start.
    const Text& PipeName() const { return pipeName_; }

    /// From the pipe's existence until the thread ends on a stop or a failure. It stays set if no reader connected.
    std::atomic<bool> running{false};

private:
    friend struct RelayWorker;

    Text pipeName_;
    Owned<Event> abortEvent_;  ///< cancels a blocked pipe operation at once
    Worker worker_{running};
};

}  // namespace zv
