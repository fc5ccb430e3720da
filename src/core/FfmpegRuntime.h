// Finds FFmpeg, an external program that the user supplies.
#pragma once

#include "core/Text.h"

namespace zv {

/// Full path of FFmpeg: the variable ZV_FFMPEG, then the folder of the program, then the search path. Empty if there is
/// none.
Text FindFfmpeg();

}  // namespace zv
