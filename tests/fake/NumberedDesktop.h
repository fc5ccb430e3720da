// A desktop on which every acquired image shows the next number, from 0 on. Tests read it in the finished video
// (support/FrameNumber.h). Replaces only the monitor and its duplication: device, surfaces and scaler are those of the
// Linux platform.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/DesktopCapture.h"

namespace zv::fake {

struct NumberedDesktopControls {
    // Set while no capture runs
    Text monitorName = u"NUMBERED-1";
    std::uint32_t width = 1920;
    std::uint32_t height = 1080;
    std::uint32_t rotation = 1;
    bool attached = true;

    // Any time
    std::atomic<bool> frozen{false};               ///< a capture acquires only its first image
    std::atomic<bool> withoutImages{false};        ///< a capture acquires no image
    std::atomic<std::uint32_t> acquireMs{0};       ///< the duration of each acquisition, as on a slow machine
    std::atomic<std::uint32_t> failingAcquire{0};  ///< the number of the call that fails, from 1; 0: none
    std::atomic<Result> failureCode{resultGenericFailure};
    std::atomic<std::uint32_t> acquireCalls{0};
    std::atomic<std::uint32_t> images{0};  ///< acquired so far, by all captures; the number of the next one
};

NumberedDesktopControls& TheNumberedDesktop();
void ResetNumberedDesktop();

/// The monitor's name, for the capture's settings.
Text NumberedDesktopName();

}  // namespace zv::fake
