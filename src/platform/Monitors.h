// What the machine has for graphics: adapters, their outputs, and the monitors of the desktop. Every call asks the
// system anew. Any thread, unless stated otherwise. src/video/Monitors.h and src/video/Capabilities.h decide what
// follows from these lists.
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

/// All adapters from index 0. Returns false if they cannot be enumerated at all.
bool ListAdapterRecords(std::vector<AdapterRecord>& adapters);

/// A monitor of the desktop.
struct MonitorEntry {
    Text deviceName;        ///< Windows: "\\.\DISPLAY1"; X11: the name of the RandR monitor
    std::int32_t left = 0;  ///< in coordinates of the desktop
    std::int32_t top = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t outputIndex = -1;  ///< of the first adapter, -1 without one there; informative only
    bool primary = false;
    bool operator==(const MonitorEntry&) const = default;

    Rectangle Bounds() const { return {left, top, left + width, top + height}; }
};

/// All monitors of the desktop in the system's own order, without their outputs. One whose information cannot be read
/// is left out.
std::vector<MonitorEntry> EnumerateMonitors();

/// The part of a monitor that taskbars and panels leave free. The monitor is the one that contains the point, or the
/// primary one. Interface thread only, after OpenSession.
Rectangle WorkAreaAt(Point point);

/// An output of an adapter.
struct OutputRecord {
    Text deviceName;             ///< that of the monitor it drives
    Rectangle bounds;            ///< in coordinates of the desktop
    std::uint32_t rotation = 0;  ///< 0 unspecified, 1 identity, 2 to 4 rotated clockwise by 90, 180, 270 degrees
    bool described = false;      ///< false: the description could not be read
    bool attached = false;       ///< part of the desktop
};

/// The outputs of adapter 0 from index 0. Returns false if adapters cannot be enumerated.
bool ListFirstAdapterOutputs(std::vector<OutputRecord>& outputs);

}  // namespace zv
