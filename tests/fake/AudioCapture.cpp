#include "fake/AudioCapture.h"

#include "fake/Calls.h"

namespace zv {

using fake::Call;
using fake::TheAudio;

struct AudioWorker {
    static void Fail(AudioCapture& audio, const Text& error) { audio.worker_.Fail(error); }
};

namespace fake {

AudioCaptureControls& TheAudio() {
    static AudioCaptureControls controls;
    return controls;
}

void ResetAudio() { TheAudio() = {}; }

void FailAudio(AudioCapture& audio, const Text& error) { AudioWorker::Fail(audio, error); }

}  // namespace fake

AudioCapture::AudioCapture() {
    const Call call("AudioCapture");
    TheAudio().alive.push_back(this);
}

AudioCapture::~AudioCapture() {
    const Call call("~AudioCapture");
    std::erase(TheAudio().alive, this);
}

bool AudioCapture::Start(bool gameAudio, bool microphone) {
    const Call call("AudioCapture::Start");
    TheAudio().starts.push_back({gameAudio, microphone});
    if (call.Fails()) {
        fake::FailAudio(*this, TheAudio().startError);
        return false;
    }
    pipeName_ = TheAudio().pipeName;
    running = true;
    return true;
}

void AudioCapture::Stop() {
    const Call call("AudioCapture::Stop");
    running = false;
}

}  // namespace zv
