// What the files of this folder share of the system's monitors.
#pragma once

#include <optional>

#include "platform/Monitors.h"
#include "platform/windows/Native.h"

namespace zv {

inline Rectangle RectangleOf(const RECT& native) { return {native.left, native.top, native.right, native.bottom}; }

/// Nothing if the monitor is gone.
std::optional<MonitorEntry> EntryOf(HMONITOR monitor);

}  // namespace zv
