// The interface thread's handle of one background job: empty, running, or finished and not yet collected.
//
// Timers poll a slot; only the end of the program waits for it. Interface thread only.
#pragma once

#include <chrono>
#include <future>
#include <system_error>
#include <utility>

namespace zv {

/// A slot without the type of its result.
class JobSlot {
public:
    /// Returns true until the result is collected, even if the worker has ended.
    virtual bool IsBusy() const = 0;
    virtual bool IsFinished() const = 0;
    virtual void Wait() const = 0;

protected:
    ~JobSlot() = default;
};

template <class T>
class FutureSlot final : public JobSlot {
public:
    bool IsBusy() const override { return future_.valid(); }
    bool IsFinished() const override {
        return future_.valid() && future_.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    }
    void Wait() const override {
        if (future_.valid()) {
            future_.wait();
        }
    }

    /// Runs `body` on a worker of its own. Any exception of `body`, or a system that creates no thread, gives the
    /// result `failed`.
    template <class Body>
    void Start(Body body, T failed) {
        try {
            future_ = std::async(std::launch::async, [body = std::move(body), failed]() mutable -> T {
                try {
                    return body();
                } catch (...) {
                    return std::move(failed);
                }
            });
        } catch (const std::system_error&) {
            std::promise<T> result;
            result.set_value(std::move(failed));
            future_ = result.get_future();
        }
    }

    /// Returns the result of a busy slot and empties the slot. Waits if necessary.
    T Take() { return Release().get(); }

    /// Returns the job in any state and leaves the slot empty.
    std::future<T> Release() { return std::exchange(future_, {}); }

private:
    std::future<T> future_;
};

}  // namespace zv
