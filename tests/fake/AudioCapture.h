// An audio worker without a thread: it runs from a successful start until it is stopped or a test makes it fail.
#pragma once

#include <vector>

#include "audio/AudioCapture.h"

namespace zv::fake {

struct AudioStart {
    bool gameAudio = false;
    bool microphone = false;
};

struct AudioCaptureControls {
    std::vector<AudioStart> starts;
    std::vector<AudioCapture*> alive;  ///< every worker that has not been destroyed
    Text startError = u"Audio could not start.";
    Text pipeName = u"audio pipe";
};

/// FailCall for "AudioCapture::Start" makes it return false with `startError`.
AudioCaptureControls& TheAudio();
void ResetAudio();

/// Puts the worker into the state after its thread has failed.
void FailAudio(AudioCapture& audio, const Text& error);

}  // namespace zv::fake
