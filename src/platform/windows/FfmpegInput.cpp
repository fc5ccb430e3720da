// FFmpeg 8 or newer reads a named pipe without a buffer of its own.
#include "platform/FfmpegInput.h"

namespace zv {

const char16_t* const rawPipeInputFlags = u"-avioflags direct ";

}  // namespace zv
