// The name of the captured monitor on the pages. Interface thread.
#pragma once

#include "core/Text.h"

namespace zv {

/// Returns for example "DISPLAY1  /  1920 x 1080  (primary)", or "Monitor disconnected". UiGlobals::monitorLabel caches
/// the label of a connected monitor: code that changes the monitor, or handles a display change, clears it.
Text MonitorLabel();

}  // namespace zv
