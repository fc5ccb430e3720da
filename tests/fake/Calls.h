// The record of all calls of the fakes, in order, and the plan of which calls fail.
//
// Each function of a fake begins with `Call call("Name");`, which records the call, runs the test's hook and reports
// whether this call must fail. `Call call("Name", "subject")` also records the subject of the call. Allocations does
// not count the allocations of fakes.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace zv::fake {

/// Above 0 while this thread is inside a fake.
inline thread_local int callDepth = 0;

struct Fault {
    std::string name;
    int nth = 1;  ///< 1 is the first call of this name
    std::int32_t code = 0;
    bool throws = false;  ///< throws std::bad_alloc instead of returning a code
};

struct Calls {
    std::mutex mutex;
    std::vector<const char*> names;
    std::vector<std::string> subjects;     ///< of each call, mostly empty
    std::vector<std::thread::id> threads;  ///< of each call
    std::map<std::string, int> counts;
    std::vector<Fault> faults;
    std::function<void(const char* name, int nth)> hook;  ///< set while no call runs; called without the mutex
};

inline Calls& TheCalls() {
    static Calls calls;
    return calls;
}

inline void ResetCalls() {
    Calls& calls = TheCalls();
    const std::lock_guard lock(calls.mutex);
    calls.names.clear();
    calls.subjects.clear();
    calls.threads.clear();
    calls.counts.clear();
    calls.faults.clear();
    calls.hook = nullptr;
}

/// Makes the n-th call of `name` fail with `code`, in the form of failure of that service.
inline void FailCall(const std::string& name, int nth, std::int32_t code) {
    const std::lock_guard lock(TheCalls().mutex);
    TheCalls().faults.push_back({name, nth, code, false});
}

/// Makes the n-th call of `name` throw std::bad_alloc.
inline void ThrowInCall(const std::string& name, int nth) {
    const std::lock_guard lock(TheCalls().mutex);
    TheCalls().faults.push_back({name, nth, 0, true});
}

inline std::vector<std::string> CallNames() {
    const std::lock_guard lock(TheCalls().mutex);
    return {TheCalls().names.begin(), TheCalls().names.end()};
}

/// "Name subject" for each call, or "Name" without a subject.
inline std::vector<std::string> CallLog() {
    const std::lock_guard lock(TheCalls().mutex);
    std::vector<std::string> log;
    for (std::size_t i = 0; i < TheCalls().names.size(); ++i) {
        const std::string& subject = TheCalls().subjects[i];
        log.push_back(TheCalls().names[i] + (subject.empty() ? subject : " " + subject));
    }
    return log;
}

inline int CountOf(const std::string& name) {
    const std::lock_guard lock(TheCalls().mutex);
    return TheCalls().counts[name];
}

class Call {
public:
    explicit Call(const char* name, std::string subject = {}) {
        ++callDepth;
        try {
            const int nth = Note(name, std::move(subject));
            if (TheCalls().hook) {
                TheCalls().hook(name, nth);
            }
            Plan(name, nth);
        } catch (...) {
            --callDepth;
            throw;
        }
    }
    ~Call() { --callDepth; }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    bool Fails() const { return code_.has_value(); }
    std::int32_t Code() const { return code_.value_or(0); }

private:
    static int Note(const char* name, std::string subject) {
        Calls& calls = TheCalls();
        const std::lock_guard lock(calls.mutex);
        calls.names.push_back(name);
        calls.subjects.push_back(std::move(subject));
        calls.threads.push_back(std::this_thread::get_id());
        return ++calls.counts[name];
    }
    void Plan(const char* name, int nth) {
        Calls& calls = TheCalls();
        const std::lock_guard lock(calls.mutex);
        for (const Fault& fault : calls.faults) {
            if (fault.name != name || fault.nth != nth) {
                continue;
            }
            if (fault.throws) {
                throw std::bad_alloc();
            }
            code_ = fault.code;
        }
    }

    std::optional<std::int32_t> code_;
};

}  // namespace zv::fake
