// What the files of this folder share of the system's monitors.
#pragma once

#include "platform/Monitors.h"
#include "platform/windows/Native.h"

namespace zv {

inline Rectangle RectangleOf(const RECT& native) { return {native.left, native.top, native.right, native.bottom}; }

/// Empty if the monitor is gone.
MonitorArea AreaOf(HMONITOR monitor);

}  // namespace zv
