// The FFmpeg options that depend on the platform.
#pragma once

namespace zv {

/// The options before a raw input that FFmpeg reads from a BytePipe: empty, or ending in a blank. Windows: "-avioflags
/// direct ". Linux: empty, because FFmpeg before 8 loses the bytes that it probes if buffering is disabled, and
/// distributions ship older versions.
extern const char16_t* const rawPipeInputFlags;

}  // namespace zv
