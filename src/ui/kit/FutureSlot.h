// The interface thread's handle of one background job: empty, running, or finished and not yet collected.
//
// A slot is looked at on a timer, never waited for but at the end of the program. Only the interface thread touches it.
// What a job that fails answers lies in the slot from the start, since there may be no memory for it later.
#pragma once

#include <chrono>
#include <exception>
#include <future>
#include <utility>

#include "core/ThreadStart.h"

namespace zv {

template <class T>
class FutureSlot {
public:
    /// Busy until the result has been collected, even if the worker ended long ago.
    bool IsBusy() const { return noWorker_ || future_.valid(); }
    bool IsFinished() const {
        return noWorker_ || (future_.valid() && future_.wait_for(std::chrono::seconds(0)) == std::future_status::ready);
    }

    /// Runs `body` on a worker of its own. Its exception, or a worker that cannot be made, gives `failed`.
    template <class Body>
    void Start(Body body, T failed) {
        failed_ = std::move(failed);
        try {
            future_ = std::async(std::launch::async, [body = std::move(body)]() mutable -> T {
                PrepareForExceptions();
                return body();
            });
        } catch (const std::exception&) {
            noWorker_ = true;
        }
    }

    /// The result of a busy slot, which is empty afterwards. Waits if it has to.
    T Take() {
        if (std::exchange(noWorker_, false)) {
            return std::move(failed_);
        }
        std::future<T> job = Release();
        try {
            return job.get();
        } catch (...) {
            return std::move(failed_);
        }
    }

    /// Hands the job over, whatever its state, and leaves the slot empty. There is none where no worker could be made.
    std::future<T> Release() {
        noWorker_ = false;
        return std::exchange(future_, {});
    }

    void Wait() const {
        if (future_.valid()) {
            future_.wait();
        }
    }

private:
    std::future<T> future_;
    bool noWorker_ = false;  ///< the job is finished because it could not begin
    T failed_{};
};

}  // namespace zv
