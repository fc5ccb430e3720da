// The microphone over the wave input, the "microphone compatibility driver" of the failure message.
//
// Unlike an endpoint, this path counts its samples from the moment of the start: the device's clock is taken to be
// exact, and nothing measures its drift.
#pragma once

#include "audio/AudioSource.h"

namespace zv {

/// Lets go of the endpoint and opens the wave input with all its buffers queued.
Result OpenWaveSource(AudioSource& source);

Result StartWaveSource(AudioSource& source);

/// Files at most four buffers, in the order of the ring of buffers, and gives them back to the device.
Result DrainWaveSource(AudioSource& source, std::int64_t captureStartTime);

}  // namespace zv
