#include "platform/linux/posix/Posix.h"

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <limits>

#include "platform/Event.h"

namespace zv {

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        Reset();
        value_ = std::exchange(other.value_, -1);
    }
    return *this;
}

void Descriptor::Reset() noexcept {
    if (value_ >= 0) {
        close(std::exchange(value_, -1));
    }
}

Descriptor AboveStandard(Descriptor descriptor) {
    if (descriptor.Get() > 2 || !descriptor.Held()) {
        return descriptor;
    }
    return Descriptor(fcntl(descriptor.Get(), F_DUPFD_CLOEXEC, 3));
}

std::int64_t MonotonicNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

Deadline::Deadline(std::uint32_t timeoutMs)
    : forever_(timeoutMs == waitForever), endNs_(MonotonicNs() + static_cast<std::int64_t>(timeoutMs) * 1000000) {}

int Deadline::RemainingMs() const {
    if (forever_) {
        return -1;
    }
    const std::int64_t leftMs = (std::max<std::int64_t>(endNs_ - MonotonicNs(), 0) + 999999) / 1000000;
    return static_cast<int>(std::min<std::int64_t>(leftMs, std::numeric_limits<int>::max()));
}

Result LastError() { return ResultOfSystemError(errno); }

void IgnoreBrokenPipes() {
    static const bool ignored = [] {
        std::signal(SIGPIPE, SIG_IGN);
        return true;
    }();
    static_cast<void>(ignored);
}

}  // namespace zv
