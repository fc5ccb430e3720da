#include "fake/AudioEndpoint.h"

#include <array>
#include <cstring>

#include "fake/Calls.h"
#include "platform/Clock.h"

namespace zv {

struct AudioThread {};
struct AudioEnumerator {};
struct AudioEndpoint {
    bool loopback = false;
    fake::ScriptedPacket made;  ///< the last packet of the source, kept so that its memory is reused
    bool hasMade = false;
};

namespace {

struct State {
    std::array<fake::EndpointControls, 2> endpoints;
    int threads = 0;
    int enumerators = 0;
};

State& TheState() {
    static State state;
    return state;
}

fake::EndpointControls& ControlsOf(const AudioEndpoint& endpoint) { return fake::TheEndpoint(endpoint.loopback); }

// The names are literals because the record of calls stores only their addresses.
#define ZV_ENDPOINT_CALL(function, isLoopback) \
    const fake::Call call((isLoopback) ? function ".render" : function ".capture")

std::int64_t EndOf(const fake::ScriptedPacket& packet, const fake::EndpointControls& controls) {
    return packet.position + std::int64_t{packet.frames} * 10000000 / controls.format.sampleRate;
}

fake::ScriptedPacket* Waiting(AudioEndpoint& endpoint) {
    fake::EndpointControls& controls = ControlsOf(endpoint);
    if (!controls.packets.empty()) {
        return controls.packets.front().arrives <= Counter100ns() ? &controls.packets.front() : nullptr;
    }
    while (!endpoint.hasMade && controls.source && controls.source(endpoint.made)) {
        endpoint.hasMade = endpoint.made.position + controls.keeps >= Counter100ns();
    }
    return endpoint.hasMade && EndOf(endpoint.made, controls) <= controls.receivedUntil ? &endpoint.made : nullptr;
}

void Receive() {
    for (fake::EndpointControls& controls : TheState().endpoints) {
        controls.receivedUntil = Counter100ns();
    }
}

Result AnswerOf(const fake::Call& call) { return call.Fails() ? call.Code() : resultOk; }

}  // namespace

namespace fake {

EndpointControls& TheEndpoint(bool loopback) { return TheState().endpoints[loopback ? 0 : 1]; }
int LiveAudioThreads() { return TheState().threads; }
int LiveAudioEnumerators() { return TheState().enumerators; }

void ResetEndpoints() {
    for (EndpointControls& controls : TheState().endpoints) {
        controls = {};
        controls.format = PlainFormat(formatTagFloat, 48000, 2, 32);
    }
}

MixFormat PlainFormat(std::uint32_t tag, std::uint32_t rate, std::uint32_t channels, std::uint32_t bits) {
    MixFormat format;
    format.formatTag = tag;
    format.channels = channels;
    format.sampleRate = rate;
    format.blockAlign = bits / 8 * channels;
    format.bitsPerSample = bits;
    return format;
}

ScriptedPacket FloatPacket(const std::vector<float>& samples, std::uint32_t channels, std::int64_t position) {
    ScriptedPacket packet;
    packet.data.resize(samples.size() * sizeof(float));
    std::memcpy(packet.data.data(), samples.data(), packet.data.size());
    packet.frames = static_cast<std::uint32_t>(samples.size()) / channels;
    packet.position = position;
    return packet;
}

}  // namespace fake

template <>
void Closer<AudioThread>::operator()(AudioThread* thread) const noexcept {
    const fake::Call call("~AudioThread");
    --TheState().threads;
    delete thread;
}

template <>
void Closer<AudioEnumerator>::operator()(AudioEnumerator* enumerator) const noexcept {
    const fake::Call call("~AudioEnumerator");
    --TheState().enumerators;
    delete enumerator;
}

template <>
void Closer<AudioEndpoint>::operator()(AudioEndpoint* endpoint) const noexcept {
    ZV_ENDPOINT_CALL("~AudioEndpoint", endpoint->loopback);
    --ControlsOf(*endpoint).live;
    delete endpoint;
}

Result EnterAudioThread(Owned<AudioThread>& thread) {
    const fake::Call call("EnterAudioThread");
    if (!call.Fails()) {
        ++TheState().threads;
        thread.reset(new AudioThread);
    }
    return AnswerOf(call);
}

Result MakeAudioEnumerator(AudioThread&, Owned<AudioEnumerator>& enumerator) {
    const fake::Call call("MakeAudioEnumerator");
    if (!call.Fails()) {
        ++TheState().enumerators;
        enumerator.reset(new AudioEnumerator);
    }
    return AnswerOf(call);
}

Result FindDefaultEndpoint(AudioEnumerator&, bool loopback, Owned<AudioEndpoint>& endpoint) {
    ZV_ENDPOINT_CALL("FindDefaultEndpoint", loopback);
    if (!call.Fails()) {
        ++fake::TheEndpoint(loopback).live;
        endpoint.reset(new AudioEndpoint);
        endpoint->loopback = loopback;
    }
    return AnswerOf(call);
}

Result ActivateEndpoint(AudioEndpoint& endpoint) {
    ZV_ENDPOINT_CALL("ActivateEndpoint", endpoint.loopback);
    return AnswerOf(call);
}

Result ReadMixFormat(AudioEndpoint& endpoint, MixFormat& format) {
    ZV_ENDPOINT_CALL("ReadMixFormat", endpoint.loopback);
    format = ControlsOf(endpoint).format;
    return AnswerOf(call);
}

Result InitializeEndpoint(AudioEndpoint& endpoint, bool loopback) {
    ZV_ENDPOINT_CALL("InitializeEndpoint", endpoint.loopback);
    ControlsOf(endpoint).initialized = !call.Fails();
    ControlsOf(endpoint).initializedAsLoopback = loopback;
    return AnswerOf(call);
}

Result OpenCaptureService(AudioEndpoint& endpoint) {
    ZV_ENDPOINT_CALL("OpenCaptureService", endpoint.loopback);
    return AnswerOf(call);
}

Result StartEndpoint(AudioEndpoint& endpoint) {
    ZV_ENDPOINT_CALL("StartEndpoint", endpoint.loopback);
    ControlsOf(endpoint).running = !call.Fails();
    return AnswerOf(call);
}

void StopEndpoint(AudioEndpoint& endpoint) {
    ZV_ENDPOINT_CALL("StopEndpoint", endpoint.loopback);
    ControlsOf(endpoint).running = false;
}

bool WaitForPackets(AudioEnumerator&, Event& stop) {
    if (WaitAny({&stop}, 1) != waitTimedOut) {
        return false;
    }
    Receive();
    return true;
}

void ReceivePackets(AudioEnumerator&) {
    const fake::Call call("ReceivePackets");
    Receive();
}

Result NextPacketFrames(AudioEndpoint& endpoint, std::uint32_t& frames) {
    ZV_ENDPOINT_CALL("NextPacketFrames", endpoint.loopback);
    const fake::ScriptedPacket* waiting = Waiting(endpoint);
    frames = waiting != nullptr ? waiting->frames : 0;
    return AnswerOf(call);
}

Result AcquirePacket(AudioEndpoint& endpoint, AudioPacket& packet) {
    ZV_ENDPOINT_CALL("AcquirePacket", endpoint.loopback);
    const fake::ScriptedPacket* waiting = Waiting(endpoint);
    if (waiting != nullptr) {
        packet = {waiting->data.empty() ? nullptr : waiting->data.data(), waiting->frames, waiting->silent,
                  waiting->timestampError, waiting->position};
    }
    return AnswerOf(call);
}

Result ReleasePacket(AudioEndpoint& endpoint, std::uint32_t) {
    ZV_ENDPOINT_CALL("ReleasePacket", endpoint.loopback);
    fake::EndpointControls& controls = ControlsOf(endpoint);
    ++controls.released;
    if (!controls.packets.empty()) {
        controls.packets.pop_front();
    } else {
        endpoint.hasMade = false;
    }
    return AnswerOf(call);
}

}  // namespace zv
