#include "video/FramePacer.h"

#include <utility>

namespace zv {

FramePacer MakeFramePacer(std::uint32_t fps, std::function<std::int64_t()> now,
                          std::function<bool(std::int64_t dueTime)> wait) {
    FramePacer pacer;
    pacer.now = std::move(now);
    pacer.wait = std::move(wait);
    pacer.intervalNs = 1'000'000'000 / static_cast<std::int64_t>(fps);
    pacer.deadlineNs = pacer.now();
    return pacer;
}

std::int64_t DueTimeOf(std::int64_t remainingNs) {
    const std::int64_t units = remainingNs / 100;
    return units <= 1 ? -1 : -units;
}

bool WaitForTick(FramePacer& pacer) {
    const std::int64_t now = pacer.now();
    if (now < pacer.deadlineNs && pacer.wait && !pacer.wait(DueTimeOf(pacer.deadlineNs - now))) {
        return false;
    }
    // The remainder of the division is dropped on every frame on purpose; the stream's times do not depend on it.
    pacer.deadlineNs += pacer.intervalNs;
    if (pacer.now() > pacer.deadlineNs + pacerResyncNs) {
        pacer.deadlineNs = pacer.now();
    }
    return true;
}

}  // namespace zv
