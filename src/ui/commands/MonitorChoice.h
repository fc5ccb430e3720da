// Selects the monitor to capture. Interface thread only.
#pragma once

namespace zv {

/// Opens a menu of the connected monitors at the pointer and captures the chosen one. Shows the reason if the monitor
/// may not change now.
void ChooseMonitor();

}  // namespace zv
