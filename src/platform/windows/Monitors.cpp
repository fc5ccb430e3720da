// Adapters and outputs from DXGI, the monitors of the desktop from the window manager.
#include "platform/Monitors.h"

#include <exception>

#include "platform/windows/Graphics.h"
#include "platform/windows/MonitorHandle.h"

namespace zv {
namespace {

AdapterRecord RecordOf(IDXGIAdapter1& adapter) {
    AdapterRecord record;
    DXGI_ADAPTER_DESC1 description{};
    record.described = SUCCEEDED(adapter.GetDesc1(&description));
    if (record.described) {
        record.description = TextOf(description.Description);
        record.vendorId = description.VendorId;
        record.dedicatedVideoMemory = description.DedicatedVideoMemory;
        record.software = (description.Flags & DXGI_ADAPTER_FLAG_SOFTWARE) != 0;
    }
    return record;
}

struct MonitorListing {
    std::vector<MonitorRecord> monitors;
    std::exception_ptr failure;
};

void AddMonitor(HMONITOR monitor, std::vector<MonitorRecord>& monitors) {
    MONITORINFOEXW information{};
    information.cbSize = sizeof(information);
    if (GetMonitorInfoW(monitor, &information)) {
        const RECT& bounds = information.rcMonitor;
        monitors.push_back({TextOf(information.szDevice), bounds.left, bounds.top, bounds.right, bounds.bottom,
                            (information.dwFlags & MONITORINFOF_PRIMARY) != 0});
    }
}

/// No exception may pass through the system's frames: it goes round them.
BOOL CALLBACK ListMonitor(HMONITOR monitor, HDC, RECT*, LPARAM place) {
    auto& listing = *reinterpret_cast<MonitorListing*>(place);
    try {
        AddMonitor(monitor, listing.monitors);
        return TRUE;
    } catch (...) {
        listing.failure = std::current_exception();
        return FALSE;
    }
}

}  // namespace

bool ListAdapterRecords(std::vector<AdapterRecord>& adapters) {
    adapters.clear();
    Com<IDXGIFactory6> factory;
    if (FAILED(CreateDXGIFactory1(__uuidof(IDXGIFactory6), factory.OutVoid()))) {
        return false;
    }
    Com<IDXGIAdapter1> adapter;
    for (UINT index = 0; SUCCEEDED(factory->EnumAdapters1(index, adapter.Out())); ++index) {
        adapters.push_back(RecordOf(*adapter.Get()));
    }
    return true;
}

std::vector<MonitorRecord> ListMonitorRecords() {
    MonitorListing listing;
    EnumDisplayMonitors(nullptr, nullptr, ListMonitor, reinterpret_cast<LPARAM>(&listing));
    if (listing.failure) {
        std::rethrow_exception(listing.failure);
    }
    return std::move(listing.monitors);
}

MonitorArea AreaOf(HMONITOR monitor) {
    MONITORINFOEXW info{};
    info.cbSize = sizeof(info);
    if (GetMonitorInfoW(monitor, &info) == FALSE) {
        return {};
    }
    return {RectangleOf(info.rcMonitor), RectangleOf(info.rcWork), TextOf(info.szDevice)};
}

MonitorArea MonitorAt(Point point) { return AreaOf(MonitorFromPoint({point.x, point.y}, MONITOR_DEFAULTTOPRIMARY)); }

bool ListFirstAdapterOutputs(std::vector<OutputRecord>& outputs) {
    outputs.clear();
    Com<IDXGIFactory1> factory;
    if (FAILED(CreateDXGIFactory1(__uuidof(IDXGIFactory1), factory.OutVoid()))) {
        return false;
    }
    Com<IDXGIAdapter1> adapter;
    if (FAILED(factory->EnumAdapters1(0, adapter.Out()))) {
        return true;
    }
    Com<IDXGIOutput> output;
    for (UINT index = 0; SUCCEEDED(adapter->EnumOutputs(index, output.Out())); ++index) {
        outputs.push_back(DescribeOutput(*output.Get()));
    }
    return true;
}

}  // namespace zv
