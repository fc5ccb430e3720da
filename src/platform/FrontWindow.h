// The window in front, of any program. Interface thread only.
#pragma once

#include <cstdint>

#include "core/Text.h"
#include "platform/Monitors.h"
#include "platform/Rectangle.h"

namespace zv {

enum class FrontKind {
    None,     ///< no window is in front
    Own,      ///< a window of this program
    Unknown,  ///< a window of a process that cannot be opened or read
    Known     ///< `imagePath` is set
};

struct FrontWindow {
    FrontKind kind = FrontKind::None;
    std::uint32_t processId = 0;  ///< 0 if it is unknown
    Text imagePath = {};          ///< full path of the process's image
    Text className = {};
    Rectangle bounds = {};  ///< including its frame, in coordinates of the desktop
    int dpi = 96;
    MonitorEntry monitor = {};  ///< the monitor that shows most of the window, else the primary one; without its output
};

/// Queries the system. On Linux `imagePath` of a Windows game under a compatibility layer is the path of its ".exe",
/// and the desktop's own windows have the class names of Windows.
FrontWindow LookUpFrontWindow();

}  // namespace zv
