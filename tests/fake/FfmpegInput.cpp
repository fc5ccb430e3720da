// The reader flags of a platform whose pipes FFmpeg must read unbuffered, so that command lines can be compared in that
// form everywhere.
#include "platform/FfmpegInput.h"

namespace zv {

const char16_t* const rawPipeInputFlags = u"-avioflags direct ";

}  // namespace zv
