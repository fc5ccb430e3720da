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
    std::vector<MonitorEntry> monitors;
    std::exception_ptr failure;
};

/// Exceptions must not cross the system's stack frames. Stores the exception, which the caller rethrows.
BOOL CALLBACK ListMonitor(HMONITOR monitor, HDC, RECT*, LPARAM parameter) {
    auto& listing = *reinterpret_cast<MonitorListing*>(parameter);
    try {
        if (std::optional<MonitorEntry> entry = EntryOf(monitor)) {
            listing.monitors.push_back(std::move(*entry));
        }
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
    if (FAILED(MakeFactory(__uuidof(IDXGIFactory6), factory.OutVoid()))) {
        return false;
    }
    Com<IDXGIAdapter1> adapter;
    for (UINT index = 0; SUCCEEDED(factory->EnumAdapters1(index, adapter.Out())); ++index) {
        adapters.push_back(RecordOf(*adapter.Get()));
    }
    return true;
}

std::vector<MonitorEntry> EnumerateMonitors() {
    MonitorListing listing;
    EnumDisplayMonitors(nullptr, nullptr, ListMonitor, reinterpret_cast<LPARAM>(&listing));
    if (listing.failure) {
        std::rethrow_exception(listing.failure);
    }
    return std::move(listing.monitors);
}

std::optional<MonitorEntry> EntryOf(HMONITOR monitor) {
    MONITORINFOEXW information{};
    information.cbSize = sizeof(information);
    if (GetMonitorInfoW(monitor, &information) == FALSE) {
        return std::nullopt;
    }
    const Rectangle bounds = RectangleOf(information.rcMonitor);
    return MonitorEntry{TextOf(information.szDevice),
                        bounds.left,
                        bounds.top,
                        bounds.Width(),
                        bounds.Height(),
                        -1,
                        (information.dwFlags & MONITORINFOF_PRIMARY) != 0};
}

Rectangle WorkAreaAt(Point point) {
    MONITORINFO information{};
    information.cbSize = sizeof(information);
    GetMonitorInfoW(MonitorFromPoint({point.x, point.y}, MONITOR_DEFAULTTOPRIMARY), &information);
    return RectangleOf(information.rcWork);
}

bool ListFirstAdapterOutputs(std::vector<OutputRecord>& outputs) {
    outputs.clear();
    Com<IDXGIFactory1> factory;
    if (FAILED(MakeFactory(__uuidof(IDXGIFactory1), factory.OutVoid()))) {
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
