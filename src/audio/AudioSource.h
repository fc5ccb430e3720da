// One audio endpoint that is being captured into a ring: system sound or the microphone.
//
// Each packet is placed on the output timeline by its stamp, not by the samples before it, so a device clock that runs
// fast or slow is corrected at every packet. A microphone whose driver refuses the shared stream uses the wave input
// instead. Only the audio thread touches a source.
#pragma once

#include <cstdint>

#include "audio/AudioRing.h"
#include "audio/SampleConversion.h"
#include "core/Text.h"
#include "platform/AudioEndpoint.h"
#include "platform/WaveInput.h"

namespace zv {

struct AudioSource {
    AudioSource() = default;
    ~AudioSource();  ///< DestroySource
    AudioSource(const AudioSource&) = delete;
    AudioSource& operator=(const AudioSource&) = delete;

    Owned<AudioEndpoint> endpoint;  ///< empty when the microphone runs over the wave input
    AudioRing ring;
    bool started = false;
    SourceFormat format;
    Text stage;  ///< the current step of opening, as the failure message names it

    Owned<WaveInput> waveIn;
    int currentBuffer = 0;  ///< the buffer that the device completes next
    std::int64_t waveInFrames = 0;
    std::int64_t waveInStartTime = 0;  ///< 100 ns
};

/// Opens the default endpoint without starting it. `stage` names the step that failed.
Result OpenEndpoint(AudioSource& source, AudioEnumerator& enumerator, bool loopback);

Result StartSource(AudioSource& source);

/// Stores all waiting packets in the ring.
Result DrainSource(AudioSource& source, std::int64_t captureStartTime);

/// Stops and releases the device.
void DestroySource(AudioSource& source);

}  // namespace zv
