// Shared by the files of this folder: an owner of file descriptors, the monotonic clock, deadlines and errno.
#pragma once

#include <cstdint>
#include <utility>

#include "platform/Result.h"

namespace zv {

/// Owns one file descriptor; -1 if it holds none.
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
    /// Transfers the descriptor to the caller without closing it.
    int Release() noexcept { return std::exchange(value_, -1); }

private:
    int value_ = -1;
};

/// Duplicates a descriptor to a number above the standard ones, so that a child's standard ones can be assigned without
/// closing it.
Descriptor AboveStandard(Descriptor descriptor);

/// Nanoseconds of CLOCK_MONOTONIC.
std::int64_t MonotonicNs();

/// The end of a wait, in the form that poll needs.
class Deadline {
public:
    /// `timeoutMs` from now; waitForever is never reached.
    explicit Deadline(std::uint32_t timeoutMs);

    /// Remaining milliseconds, rounded up; -1 for waitForever.
    int RemainingMs() const;

private:
    bool forever_;
    std::int64_t endNs_;
};

/// errno as a result.
Result LastError();

/// Ignores SIGPIPE, so that a write without a reader fails with EPIPE. May be called more than once.
void IgnoreBrokenPipes();

}  // namespace zv
