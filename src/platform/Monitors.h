// What the machine has for graphics: adapters, their outputs, and the monitors of the desktop.
// Raw lists; what follows from them is decided in src/video/Monitors.h and src/video/Capabilities.h.
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

/// All adapters from index 0. False when they cannot be enumerated at all.
bool ListAdapterRecords(std::vector<AdapterRecord>& adapters);

struct MonitorRecord {
    Text deviceName;  ///< Windows: "\\.\DISPLAY1"; X11: the name of the RandR monitor
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;
    bool primary = false;
};

/// All monitors of the desktop in the system's own order; one whose information cannot be read is left out.
std::vector<MonitorRecord> ListMonitorRecords();

struct OutputRecord {
    Text deviceName;
    std::int32_t left = 0;  ///< desktop coordinates
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;
    std::uint32_t rotation = 0;  ///< 0 unspecified, 1 identity, 2 to 4 rotated by 90, 180, 270 degrees
    bool described = false;      ///< false: the description could not be read
    bool attached = false;       ///< part of the desktop
};

/// The outputs of adapter 0 from index 0. False when adapters cannot be enumerated.
bool ListFirstAdapterOutputs(std::vector<OutputRecord>& outputs);

struct MonitorArea {
    Rectangle bounds;
    Rectangle work;   ///< without taskbars
    Text deviceName;  ///< as in MonitorRecord
};
/// The monitor that holds the point, else the primary one.
MonitorArea MonitorAt(Point point);

}  // namespace zv
