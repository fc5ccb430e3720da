// Lets an FFmpeg child follow a live HLS ring as if it were one endless transport stream.
//
// One thread watches the playlist and writes every finished segment, in order and in full, to a pipe. It moves bytes
// and knows only file names. It reports nothing in words: a fault closes the pipe, and FFmpeg ends at that.
#pragma once

#include <atomic>
#include <thread>

#include "core/Text.h"
#include "platform/Event.h"

namespace zv {

class SegmentRelay {
public:
    SegmentRelay();
    ~SegmentRelay();  ///< stops
    SegmentRelay(const SegmentRelay&) = delete;
    SegmentRelay& operator=(const SegmentRelay&) = delete;

    /// Ends a relay that still runs, starts the thread and waits up to 5000 ms until its pipe exists.
    /// True when the pipe stands and a reader may connect.
    bool Start(const Text& replayFolder);

    /// Lets the segment in hand go to its end, but no longer than 6 seconds; then the thread has ended.
    /// In any state, any number of times; not from the relay's own thread.
    void Stop();

    /// The name under which the reader opens the stream, valid after Start.
    const Text& PipeName() const { return pipeName_; }

    /// From the pipe's existence until the thread leaves on a stop or a fault. It stays set when no reader came.
    std::atomic<bool> running{false};

private:
    friend struct RelayWorker;

    Text pipeName_;
    Owned<Event> stopEvent_;   ///< asks the thread to end after the segment in hand
    Owned<Event> abortEvent_;  ///< cancels a blocked pipe operation at once
    Owned<Event> readyEvent_;  ///< set by the thread when the pipe exists or could not be made
    Owned<Event> endedEvent_;  ///< the last thing that the thread does
    std::thread thread_;
};

}  // namespace zv
