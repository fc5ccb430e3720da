// Disables FFmpeg's own buffer for a named pipe. Needs FFmpeg 8 or newer.
#include "platform/FfmpegInput.h"

namespace zv {

const char16_t* const rawPipeInputFlags = u"-avioflags direct ";

}  // namespace zv
