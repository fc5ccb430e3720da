// The FFmpeg options that depend on the platform.
#pragma once

namespace zv {

/// The options in front of a raw input that FFmpeg reads from a BytePipe, with a blank at
/// its end, or nothing. Windows: "-avioflags direct ". Linux: nothing, because an FFmpeg older than 8 loses the
/// bytes that it probes when it may not buffer, and distributions ship older ones.
extern const char16_t* const rawPipeInputFlags;

}  // namespace zv
