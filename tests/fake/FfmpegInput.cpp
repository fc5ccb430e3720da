// The flags of a platform whose pipes FFmpeg reads unbuffered, so that tests compare the same command lines on all
// platforms.
#include "platform/FfmpegInput.h"

namespace zv {

const char16_t* const rawPipeInputFlags = u"-avioflags direct ";

}  // namespace zv
