// A desktop without pixels: adapters, outputs, images that are numbers, and surfaces that hold such a number.
//
// Calls are noted under the names of the header's functions, releases as "~Surface(NV12)" and the like; a failing
// call answers the planned code. The encoder's fake reads the number through NativeTexture.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "platform/DesktopCapture.h"

namespace zv::fake {

struct AcquireAnswer {
    Acquire outcome = Acquire::Timeout;
    Result code = resultOk;
    std::uint32_t picture = 0;
    bool withImage = false;  ///< an image comes along with a time-out, too
};

struct DesktopControls {
    std::vector<std::vector<OutputRecord>> adapters;  ///< outputs of each
    bool adapterMissing = false;                      ///< a found output comes without its handle

    /// What the nth call (from 1) answers. Null: picture 1 at the first call, nothing new after it.
    std::function<AcquireAnswer(int nth, std::uint32_t timeoutMs)> acquire;

    // What it was given, read while nothing runs
    std::vector<std::uint32_t> acquireTimeouts;
    ScalerFormat scalerFormat;
    std::uint32_t captureWidth = 0;
    std::uint32_t captureHeight = 0;
    std::uint32_t nv12Width = 0;
    std::uint32_t nv12Height = 0;
    ScalerState scalerState;
    std::vector<std::uint32_t> convertedFrames;  ///< frame index of each conversion
    int liveHandles = 0;
    bool acquiredTwice = false;  ///< an image was acquired before the last one was given back
};

DesktopControls& TheDesktop();

/// One adapter with one output "MONITOR" of 1920 by 1080, upright and attached.
void ResetDesktop();
OutputRecord MonitorNamed(TextView name);

}  // namespace zv::fake
