// The microphone over the wave input, the "microphone compatibility driver" of the failure message.
//
// Unlike an endpoint, this path counts its samples from the start: it assumes that the device's clock is exact.
#pragma once

#include "audio/AudioSource.h"

namespace zv {

/// Releases the endpoint and opens the wave input with all its buffers queued.
Result OpenWaveSource(AudioSource& source);

Result StartWaveSource(AudioSource& source);

/// Stores at most four buffers, in the order of the buffer ring, and queues them again.
Result DrainWaveSource(AudioSource& source, std::int64_t captureStartTime);

}  // namespace zv
