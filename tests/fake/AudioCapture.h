// An audio worker without a thread: it runs from a successful start until it is stopped or a test lets it fail.
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

/// Faults by name through FailCall: "AudioCapture::Start" answers false with `startError`.
AudioCaptureControls& TheAudio();
void ResetAudio();

/// What a worker whose thread has failed looks like.
void FailAudio(AudioCapture& audio, const Text& error);

}  // namespace zv::fake
