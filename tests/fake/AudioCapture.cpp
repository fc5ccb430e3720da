#include "fake/AudioCapture.h"

#include "fake/Calls.h"

namespace zv {

using fake::Call;
using fake::TheAudio;

struct AudioCapture::Worker {};

namespace fake {

AudioCaptureControls& TheAudio() {
    static AudioCaptureControls controls;
    return controls;
}

void ResetAudio() { TheAudio() = {}; }

void FailAudio(AudioCapture& audio, const Text& error) {
    TheAudio().error = error;
    audio.running = false;
}

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
        TheAudio().error = TheAudio().startError;
        return false;
    }
    running = true;
    return true;
}

void AudioCapture::Stop() {
    const Call call("AudioCapture::Stop");
    running = false;
}

Text AudioCapture::Error() const { return TheAudio().error; }

const Text& AudioCapture::PipeName() const { return TheAudio().pipeName; }

}  // namespace zv
