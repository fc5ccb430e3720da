// The description of a DXGI output, for the monitor list and the desktop capture.
#pragma once

#include "platform/Monitors.h"
#include "platform/windows/MonitorHandle.h"

namespace zv {

inline OutputRecord DescribeOutput(IDXGIOutput& output) {
    OutputRecord record;
    DXGI_OUTPUT_DESC description{};
    record.described = SUCCEEDED(output.GetDesc(&description));
    if (record.described) {
        record.deviceName = TextOf(description.DeviceName);
        record.bounds = RectangleOf(description.DesktopCoordinates);
        record.rotation = static_cast<std::uint32_t>(description.Rotation);
        record.attached = description.AttachedToDesktop != 0;
    }
    return record;
}

}  // namespace zv
