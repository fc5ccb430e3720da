#include "audio/AudioSource.h"

#include "audio/AudioClock.h"
#include "audio/WaveSource.h"
#include "platform/Clock.h"

namespace zv {
namespace {

Text InitializationStage(const MixFormat& mix) {
    return u"shared stream initialization (" + DecimalUnsigned(mix.sampleRate) + u" Hz, " +
           DecimalUnsigned(mix.channels) + u" channels, " + DecimalUnsigned(mix.bitsPerSample) + u" bits, tag " +
           DecimalUnsigned(mix.formatTag) + u")";
}

bool NeedsWaveInput(Result initialized, bool loopback) {
    return !loopback && (initialized == resultInvalidArgument || initialized == resultFormatUnsupported);
}

Result ReadFormat(AudioSource& source, MixFormat& mix) {
    source.stage = u"native mix format";
    const Result result = ReadMixFormat(*source.endpoint, mix);
    if (Failed(result)) {
        return result;
    }
    return AcceptFormat(mix, source.format) ? resultOk : resultFormatUnsupported;
}

Result OpenStream(AudioSource& source, const MixFormat& mix, bool loopback) {
    source.stage = InitializationStage(mix);
    const Result initialized = InitializeEndpoint(*source.endpoint, loopback);
    if (NeedsWaveInput(initialized, loopback)) {
        return OpenWaveSource(source);
    }
    if (Failed(initialized)) {
        return initialized;
    }
    source.stage = u"capture service";
    return OpenCaptureService(*source.endpoint);
}

void StoreEndpointPacket(AudioSource& source, const AudioPacket& packet, std::int64_t captureStartTime) {
    const std::uint32_t rate = source.format.sampleRate;
    const std::int64_t position =
        packet.timestampError ? PositionEndingNow(Counter100ns(), packet.frames, rate) : packet.position;
    const FrameRange range = PacketRange(position, captureStartTime, packet.frames, rate);
    StorePacket(source.ring, source.format, {packet.silent ? nullptr : packet.data, packet.frames}, range);
}

Result DrainEndpoint(AudioSource& source, std::int64_t captureStartTime) {
    for (;;) {
        std::uint32_t waiting = 0;
        Result result = NextPacketFrames(*source.endpoint, waiting);
        if (Failed(result) || waiting == 0) {
            return result;
        }
        AudioPacket packet;
        result = AcquirePacket(*source.endpoint, packet);
        if (Failed(result)) {
            return result;
        }
        StoreEndpointPacket(source, packet, captureStartTime);
        result = ReleasePacket(*source.endpoint, packet.frames);
        if (Failed(result)) {
            return result;
        }
    }
}

}  // namespace

AudioSource::~AudioSource() { DestroySource(*this); }

Result OpenEndpoint(AudioSource& source, AudioEnumerator& enumerator, bool loopback) {
    source.stage = u"default device lookup";
    Result result = FindDefaultEndpoint(enumerator, loopback, source.endpoint);
    if (Failed(result)) {
        return result;
    }
    source.stage = u"audio client activation";
    result = ActivateEndpoint(*source.endpoint);
    if (Failed(result)) {
        return result;
    }
    MixFormat mix;
    result = ReadFormat(source, mix);
    if (Failed(result)) {
        return result;
    }
    return OpenStream(source, mix, loopback);
}

Result StartSource(AudioSource& source) {
    if (source.waveIn) {
        return StartWaveSource(source);
    }
    const Result result = StartEndpoint(*source.endpoint);
    source.started = Succeeded(result);
    return result;
}

Result DrainSource(AudioSource& source, std::int64_t captureStartTime) {
    return source.waveIn ? DrainWaveSource(source, captureStartTime) : DrainEndpoint(source, captureStartTime);
}

void DestroySource(AudioSource& source) {
    if (source.endpoint && source.started) {
        StopEndpoint(*source.endpoint);
    }
    source.started = false;
    source.waveIn.reset();
    source.endpoint.reset();
}

}  // namespace zv
