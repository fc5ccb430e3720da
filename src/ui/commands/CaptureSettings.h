// How the settings become the engine's configuration.
#pragma once

#include "capture/CaptureEngine.h"

namespace zv {

/// A copy of the settings that the engine needs. Sets `codec` and `encoder` of the settings to the only supported
/// values first. Interface thread.
CaptureConfig MakeCaptureConfig();

}  // namespace zv
