// A desktop of which every image that is acquired carries the next number, from 0 on, painted so that it can be read
// in the finished video (support/FrameNumber.h). It lends the monitor and its duplication only: device, surfaces and
// scaler are the real ones of the Linux platform, and so can be the encoder.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/DesktopCapture.h"

namespace zv::fake {

struct NumberedDesktopControls {
    // Set while nothing runs
    Text monitorName = u"NUMBERED-1";
    std::uint32_t width = 1920;
    std::uint32_t height = 1080;
    std::uint32_t rotation = 1;
    bool attached = true;

    // Any time
    std::atomic<bool> frozen{false};               ///< a capture gets its first image and no other
    std::atomic<bool> withoutImages{false};        ///< there is none at all
    std::atomic<std::uint32_t> failingAcquire{0};  ///< the call of that number fails, the first is 1; 0: none
    std::atomic<Result> failureCode{resultGenericFailure};
    std::atomic<std::uint32_t> acquireCalls{0};
    std::atomic<std::uint32_t> images{0};  ///< given out so far, over all captures; the next one's number
};

NumberedDesktopControls& TheNumberedDesktop();
void ResetNumberedDesktop();

/// The monitor's name, for the capture's settings.
Text NumberedDesktopName();

}  // namespace zv::fake
