// A desktop without pixels: an image is a number, and a surface holds such a number.
//
// Calls are recorded under the names of the header's functions, releases as for example "~Surface(NV12)". A failing
// call returns the planned code. The encoder's fake reads the number through NativeTexture.
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
    bool withImage = false;  ///< also returns an image on a timeout
};

struct DesktopControls {
    std::vector<std::vector<OutputRecord>> adapters;  ///< outputs of each
    Result adaptersEnd = resultNotFound;              ///< what ends the list of adapters
    Result outputsEnd = resultNotFound;               ///< what ends the list of each adapter's outputs
    bool adapterMissing = false;                      ///< an output is found, but its handle is null

    /// The result of the nth call, from 1. Null: picture 1 on the first call, timeouts on all later ones.
    std::function<AcquireAnswer(int nth, std::uint32_t timeoutMs)> acquire;

    // Recorded arguments, read while no call runs
    std::vector<std::uint32_t> acquireTimeouts;
    ScalerFormat scalerFormat;
    std::uint32_t captureWidth = 0;
    std::uint32_t captureHeight = 0;
    std::uint32_t nv12Width = 0;
    std::uint32_t nv12Height = 0;
    ScalerState scalerState;
    std::vector<std::uint32_t> convertedFrames;  ///< frame index of each conversion
    int liveHandles = 0;
    bool acquiredTwice = false;  ///< an image was acquired before the last one was released
};

DesktopControls& TheDesktop();

/// One adapter with one output "MONITOR" of 1920 by 1080, upright and attached.
void ResetDesktop();
OutputRecord MonitorNamed(TextView name);

}  // namespace zv::fake
