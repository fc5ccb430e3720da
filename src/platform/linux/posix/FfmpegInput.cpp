// FFmpeg reads a FIFO as it reads a file.
#include "platform/FfmpegInput.h"

namespace zv {

const char16_t* const rawPipeInputFlags = u"";

}  // namespace zv
