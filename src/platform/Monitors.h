// Graphics adapters, their outputs, and the monitors of the desktop. Every call queries the system. Any thread, unless
// stated otherwise. src/video/Monitors.h and src/video/Capabilities.h evaluate these lists.
#pragma once

#include <cstdint>
#include <vector>

#include "core/Text.h"
#include "platform/Rectangle.h"

namespace zv {

struct AdapterRecord {
    Text description;
    std::uint32_t vendorId = 0;              ///< PCI vendor
    std::uint64_t dedicatedVideoMemory = 0;  ///< bytes
    bool described = false;                  ///< false: the description could not be read
    bool software = false;
};

/// Lists all adapters from index 0. Returns false if they cannot be enumerated.
bool ListAdapterRecords(std::vector<AdapterRecord>& adapters);

/// A monitor of the desktop.
struct MonitorEntry {
    Text deviceName;        ///< Windows: "\\.\DISPLAY1"; X11: the name of the RandR monitor
    std::int32_t left = 0;  ///< in coordinates of the desktop
    std::int32_t top = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t outputIndex =
        -1;  ///< of the first adapter; -1 if none of its outputs shows the monitor; for display only
    bool primary = false;
    bool operator==(const MonitorEntry&) const = default;

    Rectangle Bounds() const { return {left, top, left + width, top + height}; }
};

/// Lists all monitors of the desktop in the system's order, without their outputs. Leaves out a monitor whose
/// information cannot be read.
std::vector<MonitorEntry> EnumerateMonitors();

/// The part of a monitor that taskbars and panels do not cover. The monitor is the one that contains the point, else
/// the primary one. Interface thread only, after OpenSession.
Rectangle WorkAreaAt(Point point);

/// An output of an adapter.
struct OutputRecord {
    Text deviceName;             ///< of the monitor that it drives
    Rectangle bounds;            ///< in coordinates of the desktop
    std::uint32_t rotation = 0;  ///< 0 unspecified, 1 identity, 2 to 4 rotated clockwise by 90, 180, 270 degrees
    bool described = false;      ///< false: the description could not be read
    bool attached = false;       ///< part of the desktop
};

/// Lists the outputs of adapter 0 from index 0. Returns false if adapters cannot be enumerated.
bool ListFirstAdapterOutputs(std::vector<OutputRecord>& outputs);

}  // namespace zv
