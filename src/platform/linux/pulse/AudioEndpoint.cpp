// Endpoints of the sound server: the monitor of the default sink, and the default source.
//
// The server mixes and resamples, so the mix format is always float at 48 kHz in stereo. Each look at a stream copies
// what has arrived; PacketClock divides it into packets. If a device is removed, its stream ends; the stream is never
// moved to another device.
#include "platform/AudioEndpoint.h"

#include <cstring>
#include <utility>
#include <vector>

#include "platform/Clock.h"
#include "platform/Event.h"
#include "platform/linux/pulse/PulseClient.h"
#include "platform/software/PacketClock.h"

namespace zv {

struct AudioThread {};

struct AudioEnumerator {
    std::shared_ptr<PulseClient> client;
};

struct AudioEndpoint {
    std::shared_ptr<PulseClient> client;
    std::string source;  ///< the server's name of the recorded source
    PulseStream stream;  ///< destroyed before the client
    PacketClock clock;
    std::vector<StereoSample> arrived;
    std::size_t delivered = 0;            ///< how many of them are delivered
    std::vector<StereoSample> corrected;  ///< the acquired packet, if its length is corrected
    PlannedPacket packet;                 ///< the next packet, as of the last NextPacketFrames
};

template <>
void Closer<AudioThread>::operator()(AudioThread* thread) const noexcept {
    delete thread;
}

template <>
void Closer<AudioEnumerator>::operator()(AudioEnumerator* enumerator) const noexcept {
    delete enumerator;
}

template <>
void Closer<AudioEndpoint>::operator()(AudioEndpoint* endpoint) const noexcept {
    delete endpoint;
}

namespace {

constexpr std::uint32_t frameBytes = sizeof(StereoSample);
constexpr std::uint32_t fragmentBytes = 960 * frameBytes;  ///< 20 ms
constexpr pa_sample_spec mixSpec{PA_SAMPLE_FLOAT32LE, 48000, 2};
constexpr std::uint32_t pollMs = 10;

struct DefaultNames {
    std::string sink;
    std::string source;
};

using NamesAnswer = PulseAnswer<DefaultNames>;
using NameAnswer = PulseAnswer<std::string>;

void StoreDefaultNames(pa_context*, const pa_server_info* info, void* answer) {
    if (info != nullptr) {
        static_cast<NamesAnswer*>(answer)->Fill([info](DefaultNames& names) {
            names.sink = info->default_sink_name != nullptr ? info->default_sink_name : "";
            names.source = info->default_source_name != nullptr ? info->default_source_name : "";
        });
    }
}

void StoreMonitorName(pa_context*, const pa_sink_info* info, int end, void* answer) {
    if (end == 0 && info->monitor_source_name != nullptr) {
        static_cast<NameAnswer*>(answer)->Fill([info](std::string& name) { name = info->monitor_source_name; });
    }
}

/// Ignores a monitor: without a microphone, the server's default source is the monitor of a sink.
void StoreMicrophoneName(pa_context*, const pa_source_info* info, int end, void* answer) {
    if (end == 0 && info->monitor_of_sink == PA_INVALID_INDEX) {
        static_cast<NameAnswer*>(answer)->Fill([info](std::string& name) { name = info->name; });
    }
}

pa_operation* RequestSource(pa_context* context, const DefaultNames& names, bool loopback, NameAnswer& source) {
    return loopback ? pa_context_get_sink_info_by_name(context, names.sink.c_str(), StoreMonitorName, &source)
                    : pa_context_get_source_info_by_name(context, names.source.c_str(), StoreMicrophoneName, &source);
}

Result FindSource(PulseClient& client, bool loopback, std::string& source) {
    NamesAnswer answer;
    Result result = AwaitOperation(client, pa_context_get_server_info(client.context, StoreDefaultNames, &answer));
    if (Failed(result)) {
        return result;
    }
    const DefaultNames& names = answer.Get();
    if ((loopback ? names.sink : names.source).empty()) {
        return resultNoEndpoint;
    }
    NameAnswer found;
    result = AwaitOperation(client, RequestSource(client.context, names, loopback, found));
    source = std::move(found.Get());
    return Succeeded(result) && source.empty() ? resultNoEndpoint : result;
}

std::size_t Waiting(const AudioEndpoint& endpoint) { return endpoint.arrived.size() - endpoint.delivered; }

/// Null means a hole in the stream, which is silence.
void Append(AudioEndpoint& endpoint, const void* data, std::size_t frames) {
    const auto first = endpoint.arrived.begin();
    endpoint.arrived.erase(first, first + static_cast<std::ptrdiff_t>(endpoint.delivered));
    endpoint.delivered = 0;
    const std::size_t before = endpoint.arrived.size();
    endpoint.arrived.resize(before + frames);
    if (data != nullptr) {
        std::memcpy(endpoint.arrived.data() + before, data, frames * frameBytes);
    }
}

/// Copies everything that has arrived.
Result CopyArrived(AudioEndpoint& endpoint) {
    for (;;) {
        const void* data = nullptr;
        std::size_t bytes = 0;
        if (pa_stream_peek(endpoint.stream.get(), &data, &bytes) < 0) {
            return StreamState(*endpoint.stream);
        }
        if (bytes == 0) {
            return resultOk;
        }
        Append(endpoint, data, bytes / frameBytes);
        if (pa_stream_drop(endpoint.stream.get()) < 0) {
            return ResultOfPulse(pa_context_errno(endpoint.client->context));
        }
    }
}

Result ObserveStream(AudioEndpoint& endpoint) {
    const std::size_t before = Waiting(endpoint);
    const Result result = CopyArrived(endpoint);
    const auto waiting = static_cast<std::int64_t>(Waiting(endpoint));
    ObserveArrivals(endpoint.clock, Counter100ns(), waiting, waiting - static_cast<std::int64_t>(before));
    return result;
}

}  // namespace

Result EnterAudioThread(Owned<AudioThread>& thread) {
    thread.reset(new AudioThread);
    return resultOk;
}

Result MakeAudioEnumerator(AudioThread&, Owned<AudioEnumerator>& enumerator) {
    std::shared_ptr<PulseClient> client;
    const Result result = ConnectPulse(client);
    if (Succeeded(result)) {
        enumerator.reset(new AudioEnumerator{std::move(client)});
    }
    return result;
}

Result FindDefaultEndpoint(AudioEnumerator& enumerator, bool loopback, Owned<AudioEndpoint>& endpoint) {
    std::string source;
    const Result result = FindSource(*enumerator.client, loopback, source);
    if (Succeeded(result)) {
        endpoint.reset(new AudioEndpoint);
        endpoint->client = enumerator.client;
        endpoint->source = std::move(source);
        endpoint->clock.rendersAhead = loopback;
    }
    return result;
}

Result ActivateEndpoint(AudioEndpoint& endpoint) {
    endpoint.stream.reset(pa_stream_new(endpoint.client->context, "Capture", &mixSpec, nullptr));
    return endpoint.stream ? resultOk : ResultOfPulse(pa_context_errno(endpoint.client->context));
}

Result ReadMixFormat(AudioEndpoint&, MixFormat& format) {
    format = MixFormat();
    format.formatTag = formatTagFloat;
    format.channels = mixSpec.channels;
    format.sampleRate = mixSpec.rate;
    format.blockAlign = frameBytes;
    format.bitsPerSample = 32;
    return resultOk;
}

Result InitializeEndpoint(AudioEndpoint& endpoint, bool) {
    return ConnectRecord(*endpoint.client, *endpoint.stream, endpoint.source, fragmentBytes);
}

Result OpenCaptureService(AudioEndpoint& endpoint) { return StreamState(*endpoint.stream); }

Result StartEndpoint(AudioEndpoint& endpoint) { return Cork(*endpoint.client, *endpoint.stream, false); }

void StopEndpoint(AudioEndpoint& endpoint) {
    // Does not wait for the reply, because the stream is closed next.
    pa_operation* corking = pa_stream_cork(endpoint.stream.get(), 1, nullptr, nullptr);
    if (corking != nullptr) {
        pa_operation_unref(corking);
    }
}

// Wakes up only every 10 ms, because waking up is the largest cost between two packets. This loses nothing: the server
// buffers several seconds, and the mix writes a block every 10 ms.
bool WaitForPackets(AudioEnumerator& enumerator, Event& stop) {
    if (WaitAny({&stop}, pollMs) != waitTimedOut) {
        return false;
    }
    ReceivePackets(enumerator);
    return true;
}

void ReceivePackets(AudioEnumerator& enumerator) {
    DispatchPending(*enumerator.client);  // a failure ends the streams, and reading from them reports it
}

Result NextPacketFrames(AudioEndpoint& endpoint, std::uint32_t& frames) {
    frames = 0;
    Result result = StreamState(*endpoint.stream);
    if (Succeeded(result)) {
        result = ObserveStream(endpoint);
    }
    if (Succeeded(result)) {
        endpoint.packet = PlanPacket(endpoint.clock, static_cast<std::int64_t>(Waiting(endpoint)));
        frames = endpoint.packet.output;
    }
    return result;
}

Result AcquirePacket(AudioEndpoint& endpoint, AudioPacket& packet) {
    const StereoSample* samples = endpoint.arrived.data() + endpoint.delivered;
    if (endpoint.packet.input != endpoint.packet.output) {
        endpoint.corrected.resize(endpoint.packet.output);
        CorrectLength({samples, endpoint.packet.input}, endpoint.corrected);
        samples = endpoint.corrected.data();
    }
    packet = AudioPacket();
    packet.data = reinterpret_cast<const std::byte*>(samples);
    packet.frames = endpoint.packet.output;
    packet.position = endpoint.packet.position;
    return resultOk;
}

Result ReleasePacket(AudioEndpoint& endpoint, std::uint32_t frames) {
    if (frames != 0) {
        endpoint.delivered += endpoint.packet.input;
        FinishPacket(endpoint.clock, endpoint.packet);
    }
    endpoint.packet = {};
    return resultOk;
}

}  // namespace zv
