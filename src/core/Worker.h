// Runs one thread that starts, reports ready, and ends by itself with one sentence or at a stop.
//
// The owner calls Start and Stop from one thread. The worker's thread calls ReportReady once, Fail on a failure, and
// includes StopEvent in each of its waits. A stop leaves no error text.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

#include "core/Text.h"
#include "platform/Event.h"
#include "platform/Result.h"

namespace zv {

/// How long a start may take, and the sentences of its failures. An empty sentence is not recorded.
struct WorkerOptions {
    std::uint32_t readyMs = 0;  ///< limit until ReportReady or the thread's end
    TextView noEvents;          ///< the events cannot be created
    TextView noThread;          ///< the thread cannot be created
    TextView timedOut;          ///< the limit has passed
    Text exception;             ///< the thread's body threw; includes the code
};

class Worker {
public:
    /// `running` belongs to the owner, who publishes it.
    explicit Worker(std::atomic<bool>& running) : running_(running) {}
    ~Worker() { Stop(); }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Stops a running thread, clears the error and runs `body` on a new thread. Returns true once that has reported
    /// ready. Returns false if it cannot be created, fails first, or exceeds the limit; the thread may still run then.
    bool Start(WorkerOptions options, std::function<void()> body);

    /// Requests the stop, joins the thread, clears `running`. May be called in any state and repeatedly, but not on the
    /// worker's thread.
    void Stop();

    /// Requests the stop without waiting.
    void RequestStop();

    /// Waits for the thread to end. Returns false if it still runs after the timeout.
    bool EndsWithin(std::uint32_t timeoutMs);

    /// Sets `running` and ends the wait in Start. On the worker's thread.
    void ReportReady();

    /// Clears `running` and records the sentence. The first one stays, and after a stop was requested none is recorded.
    void Fail(Text sentence);
    void Fail(TextView message, Result code);

    bool StopRequested() const { return stopEvent_ && IsSignalled(*stopEvent_); }
    Event& StopEvent() { return *stopEvent_; }

    /// A copy of the failure's sentence, empty while nothing failed. From any thread.
    Text Error() const;

private:
    void FailUnlessSilent(TextView message, Result code);
    void Run(const std::function<void()>& body, Text& exceptionText);

    std::atomic<bool>& running_;
    Owned<Event> stopEvent_;
    Owned<Event> readyEvent_;
    Owned<Event> endedEvent_;  ///< the thread signals it last
    std::thread thread_;

    mutable std::mutex mutex_;
    Text error_;  ///< under mutex_
};

}  // namespace zv
