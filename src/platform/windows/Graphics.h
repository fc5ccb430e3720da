// What the monitor list and the desktop capture both read from DXGI.
#pragma once

#include "platform/Monitors.h"
#include "platform/windows/Native.h"

namespace zv {

inline OutputRecord DescribeOutput(IDXGIOutput& output) {
    OutputRecord record;
    DXGI_OUTPUT_DESC description{};
    record.described = SUCCEEDED(output.GetDesc(&description));
    if (record.described) {
        const RECT& bounds = description.DesktopCoordinates;
        record.deviceName = TextOf(description.DeviceName);
        record.left = bounds.left;
        record.top = bounds.top;
        record.right = bounds.right;
        record.bottom = bounds.bottom;
        record.rotation = static_cast<std::uint32_t>(description.Rotation);
        record.attached = description.AttachedToDesktop != 0;
    }
    return record;
}

}  // namespace zv
