// The window in front, of whichever program. Interface thread only, after OpenSession.
#pragma once

#include <cstdint>
#include <optional>

#include "core/Text.h"
#include "platform/Monitors.h"
#include "platform/Rectangle.h"

namespace zv {

struct FrontWindow {
    std::uint32_t processId = 0;  ///< 0 when it cannot be told
    bool ours = false;
    Rectangle bounds;
    Text className;
    int dpi = 96;
    MonitorEntry monitor;  ///< the one that shows most of it, else the primary one
};
/// The window in front. Nothing when there is none.
std::optional<FrontWindow> LookUpFrontWindow();

}  // namespace zv
