#include "stand_in/AudioCapture.h"

#include "stand_in/Calls.h"

namespace zv {

using stand_in::Call;
using stand_in::TheAudio;

struct AudioCapture::Worker {};

namespace stand_in {

AudioCaptureControls& TheAudio() {
    static AudioCaptureControls controls;
    return controls;
}

void ResetAudio() { TheAudio() = {}; }

void FailAudio(AudioCapture& audio, const Text& error) {
    TheAudio().error = error;
    audio.running = false;
}

}  // namespace stand_in

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
