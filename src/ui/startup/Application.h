// From the start of the process to its end: the order in which the core, the engine and the windows come up.
#pragma once

#include "core/Text.h"

namespace zv {

/// Runs the program on the calling thread, which becomes the interface thread. OpenSession has answered true (on
/// Windows its answer does not matter). Answers the process's exit code.
int RunApplication(const Text& commandLine);

}  // namespace zv
