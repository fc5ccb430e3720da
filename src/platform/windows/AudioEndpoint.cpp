// Endpoints over the system's audio session interface, in shared mode and in the mix format. Polled.
#include "platform/AudioEndpoint.h"

#include <memory>
#include <utility>

#include "platform/windows/Native.h"
#include "platform/windows/SdkAudio.h"

namespace zv {
namespace {

struct FreeTaskMemory {
    void operator()(void* memory) const noexcept { CoTaskMemFree(memory); }
};
using TaskFormat = std::unique_ptr<WAVEFORMATEX, FreeTaskMemory>;

constexpr WORD extensionBytes = 22;
constexpr std::uint32_t pollMs = 3;

}  // namespace

struct AudioThread {};

struct AudioEnumerator {
    Com<IMMDeviceEnumerator> devices;
};

struct AudioEndpoint {
    Com<IMMDevice> device;
    Com<IAudioClient> client;
    Com<IAudioCaptureClient> capture;
    TaskFormat format;  ///< as the endpoint reported it, until the stream is set up
};

template <>
void Closer<AudioThread>::operator()(AudioThread* thread) const noexcept {
    CoUninitialize();
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

Result EnterAudioThread(Owned<AudioThread>& thread) {
    // Made before the initialization, so that an exception cannot leave COM initialized.
    auto made = std::make_unique<AudioThread>();
    const HRESULT result = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (SUCCEEDED(result)) {
        thread.reset(made.release());
    }
    return result;
}

Result MakeAudioEnumerator(AudioThread&, Owned<AudioEnumerator>& enumerator) {
    Com<IMMDeviceEnumerator> made;
    const HRESULT result = CoCreateInstance(__uuidof(MMDeviceEnumerator), nullptr, CLSCTX_ALL,
                                            __uuidof(IMMDeviceEnumerator), made.OutVoid());
    if (SUCCEEDED(result)) {
        enumerator.reset(new AudioEnumerator{std::move(made)});
    }
    return result;
}

Result FindDefaultEndpoint(AudioEnumerator& enumerator, bool loopback, Owned<AudioEndpoint>& endpoint) {
    Com<IMMDevice> found;
    const EDataFlow flow = loopback ? eRender : eCapture;
    const HRESULT result = enumerator.devices->GetDefaultAudioEndpoint(flow, eConsole, found.Out());
    if (SUCCEEDED(result)) {
        endpoint.reset(new AudioEndpoint);
        endpoint->device = std::move(found);
    }
    return result;
}

Result ActivateEndpoint(AudioEndpoint& endpoint) {
    return endpoint.device->Activate(__uuidof(IAudioClient), CLSCTX_ALL, nullptr, endpoint.client.OutVoid());
}

Result ReadMixFormat(AudioEndpoint& endpoint, MixFormat& format) {
    WAVEFORMATEX* reported = nullptr;
    const HRESULT result = endpoint.client->GetMixFormat(&reported);
    if (FAILED(result)) {
        return result;
    }
    endpoint.format.reset(reported);
    format = MixFormat();
    format.formatTag = reported->wFormatTag;
    format.channels = reported->nChannels;
    format.sampleRate = reported->nSamplesPerSec;
    format.blockAlign = reported->nBlockAlign;
    format.bitsPerSample = reported->wBitsPerSample;
    format.extraBytes = reported->cbSize;
    if (reported->wFormatTag == WAVE_FORMAT_EXTENSIBLE && reported->cbSize >= extensionBytes) {
        const auto* extended = reinterpret_cast<const WAVEFORMATEXTENSIBLE*>(reported);
        format.subFormatTag = extended->SubFormat.Data1 & 0xFFFFU;
    }
    return result;
}

Result InitializeEndpoint(AudioEndpoint& endpoint, bool loopback) {
    const DWORD flags = loopback ? AUDCLNT_STREAMFLAGS_LOOPBACK : 0;
    const HRESULT result =
        endpoint.client->Initialize(AUDCLNT_SHAREMODE_SHARED, flags, 0, 0, endpoint.format.get(), nullptr);
    endpoint.format.reset();
    return result;
}

Result OpenCaptureService(AudioEndpoint& endpoint) {
    return endpoint.client->GetService(__uuidof(IAudioCaptureClient), endpoint.capture.OutVoid());
}

Result StartEndpoint(AudioEndpoint& endpoint) { return endpoint.client->Start(); }

void StopEndpoint(AudioEndpoint& endpoint) { endpoint.client->Stop(); }

bool WaitForPackets(AudioEnumerator&, Event& stop) { return WaitAny({&stop}, pollMs) == waitTimedOut; }

void ReceivePackets(AudioEnumerator&) {}  // the system makes them available

Result NextPacketFrames(AudioEndpoint& endpoint, std::uint32_t& frames) {
    UINT32 waiting = 0;
    const HRESULT result = endpoint.capture->GetNextPacketSize(&waiting);
    frames = waiting;
    return result;
}

Result AcquirePacket(AudioEndpoint& endpoint, AudioPacket& packet) {
    BYTE* data = nullptr;
    UINT32 frames = 0;
    DWORD flags = 0;
    UINT64 stamp = 0;
    const HRESULT result = endpoint.capture->GetBuffer(&data, &frames, &flags, nullptr, &stamp);
    if (FAILED(result)) {
        return result;
    }
    packet = AudioPacket();
    packet.data = reinterpret_cast<const std::byte*>(data);
    packet.frames = frames;
    packet.silent = (flags & AUDCLNT_BUFFERFLAGS_SILENT) != 0;
    packet.timestampError = (flags & AUDCLNT_BUFFERFLAGS_TIMESTAMP_ERROR) != 0;
    packet.position = static_cast<std::int64_t>(stamp);
    return result;
}

Result ReleasePacket(AudioEndpoint& endpoint, std::uint32_t frames) { return endpoint.capture->ReleaseBuffer(frames); }

}  // namespace zv
