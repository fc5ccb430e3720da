// What the files of this folder share: an owner for file descriptors, the monotonic clock, deadlines and errno.
#pragma once

#include <cstdint>
#include <utility>

#include "platform/Result.h"

namespace zv {

/// Owns one file descriptor; -1 when nothing is held.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int value) : value_(value) {}
    Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { Reset(); }

    int Get() const { return value_; }
    bool Held() const { return value_ >= 0; }
    void Reset() noexcept;
    /// Gives the descriptor up without closing it.
    int Release() noexcept { return std::exchange(value_, -1); }

private:
    int value_ = -1;
};

/// Nanoseconds of the clock that all others of this folder are made from.
std::int64_t MonotonicNs();

/// A point in time up to which something is waited for, in the form that poll wants.
class Deadline {
public:
    /// `timeoutMs` from now; waitForever never ends.
    explicit Deadline(std::uint32_t timeoutMs);

    /// Milliseconds that are left, rounded up: -1 for ever, 0 when the time has come.
    int RemainingMs() const;

private:
    bool forever_;
    std::int64_t endNs_;
};

/// errno as a result.
Result LastError();

/// A writer whose reader is gone gets EPIPE instead of a signal. Once is enough.
void IgnoreBrokenPipes();

}  // namespace zv
