// The interface thread's handle of one background job: empty, running, or finished and not yet collected.
//
// A slot is looked at on a timer, never waited for but at the end of the program. Only the interface thread touches it.
#pragma once

#include <chrono>
#include <exception>
#include <future>
#include <utility>

namespace zv {

template <class T>
class FutureSlot {
public:
    /// Busy until the result has been collected, even if the worker ended long ago.
    bool IsBusy() const { return future_.valid(); }
    bool IsFinished() const {
        return future_.valid() && future_.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    }

    /// Runs `body` on a worker of its own. Its exception, or a worker that cannot be made, gives `failed`.
    template <class Body>
    void Start(Body body, T failed) {
        auto guarded = [body = std::move(body), failed]() mutable -> T {
            try {
                return body();
            } catch (...) {
                return std::move(failed);
            }
        };
        try {
            future_ = std::async(std::launch::async, std::move(guarded));
        } catch (const std::exception&) {
            std::promise<T> promise;
            promise.set_value(std::move(failed));
            future_ = promise.get_future();
        }
    }

    /// The result of a busy slot, which is empty afterwards. Waits if it has to.
    T Take() { return Release().get(); }

    /// Hands the job over, whatever its state, and leaves the slot empty.
    std::future<T> Release() { return std::exchange(future_, {}); }

    void Wait() const {
        if (future_.valid()) {
            future_.wait();
        }
    }

private:
    std::future<T> future_;
};

}  // namespace zv
