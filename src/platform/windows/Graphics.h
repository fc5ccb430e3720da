// DXGI factories and the description of an output, for the monitor list and the desktop capture.
#pragma once

#include "platform/Monitors.h"
#include "platform/windows/MonitorHandle.h"
#include "platform/windows/SystemLibrary.h"

namespace zv {

inline constexpr HRESULT missingLibrary = HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND);

inline HRESULT MakeFactory(REFIID id, void** factory) {
    static const auto make = SystemFunction<decltype(CreateDXGIFactory1)>(L"dxgi.dll", "CreateDXGIFactory1");
    return make != nullptr ? make(id, factory) : missingLibrary;
}

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
