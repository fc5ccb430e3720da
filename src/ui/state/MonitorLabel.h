// How the pages name the monitor that is captured. Interface thread.
#pragma once

#include "core/Text.h"

namespace zv {

/// "DISPLAY1  /  1920 x 1080  (primary)", or "Monitor disconnected". A monitor that is there is looked up once: whoever
/// changes the choice or hears of a change of the desktop empties `monitorLabel` of the interface's state.
Text MonitorLabel();

}  // namespace zv
