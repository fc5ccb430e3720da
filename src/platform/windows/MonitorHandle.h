// Conversion of the system's monitors and rectangles, for the files of this folder.
#pragma once

#include <optional>

#include "platform/Monitors.h"
#include "platform/windows/Native.h"

namespace zv {

inline Rectangle RectangleOf(const RECT& native) { return {native.left, native.top, native.right, native.bottom}; }

/// Returns nullopt if the monitor no longer exists.
std::optional<MonitorEntry> EntryOf(HMONITOR monitor);

}  // namespace zv
