// The scheduling of the threads that capture, beside a game that uses every processor.
#pragma once

#include <cstdint>

#include "platform/Owned.h"

namespace zv {

enum class MediaTask : std::uint8_t { Sound, Video };

struct MediaThread;
/// Ends the request. Called on the thread that made it.
template <>
void Closer<MediaThread>::operator()(MediaThread* thread) const noexcept;

/// Requests timely scheduling for the calling thread, and on Windows a timer resolution of 1 ms for its waits: with the
/// usual one a wait of 3 ms takes up to 16 ms. The system may refuse any of this, so callers do not check the result.
Owned<MediaThread> ScheduleForMedia(MediaTask task);

}  // namespace zv
