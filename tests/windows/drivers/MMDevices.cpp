// The double of the system's sound devices: an in-process server of the device enumerator's class, with one default
// device for playback (captured by loopback) and one for recording, both scripted by the rules of ScriptedSound.h.
//
// Rules for "fail" and "delay" name CreateInstance, or a method followed by ".render" or ".capture"
// (GetDefaultAudioEndpoint.render, Initialize.capture, ...).
// It complains about leaked references, calls out of order or from a second thread, other parameters than shared
// polling with the unchanged mix format, a mix format that is not freed, and packets that are not released. The memory
// of a released packet is not readable. If the program exports ZvSoundRound, it is called at every poll for a packet of
// the playback device, with the number of the poll.
#include <windows.h>

#include <audioclient.h>
#include <ks.h>
#include <ksmedia.h>
#include <mmdeviceapi.h>

#include <cstddef>
#include <cstring>
#include <memory>

#include "windows/drivers/ComWatch.h"
#include "windows/drivers/ScriptedSound.h"

namespace zv::drivers {
namespace {

/// The code that a call must return at once, or 0. One thread owns everything that comes from one enumerator.
HRESULT Enter(const std::string& name, DWORD thread) {
    if (GetCurrentThreadId() != thread) {
        Complain(name + " from a second thread");
    }
    const ScriptedResult scripted = CountCall(name.c_str());
    return scripted.fails ? scripted.code : S_OK;
}

struct Expectation {
    bool met = false;
    const char* otherwise = "";
};

void Expect(const std::string& call, std::initializer_list<Expectation> all) {
    for (const Expectation& one : all) {
        if (!one.met) {
            Complain(call + ": " + one.otherwise);
        }
    }
}

/// The memory of one packet, which ends at an unreadable page. It is unreadable itself after Decommit.
class PacketMemory {
public:
    ~PacketMemory() {
        if (pages_ != nullptr) {
            VirtualFree(pages_, 0, MEM_RELEASE);
        }
    }

    std::byte* Commit(std::size_t size) {
        if (pages_ == nullptr) {
            size_ = (size + page - 1) / page * page;
            pages_ = static_cast<std::byte*>(VirtualAlloc(nullptr, size_ + page, MEM_RESERVE, PAGE_NOACCESS));
        }
        VirtualAlloc(pages_, size_, MEM_COMMIT, PAGE_READWRITE);
        return pages_ + size_ - size;
    }
    void Decommit() const { VirtualFree(pages_, size_, MEM_DECOMMIT); }

private:
    static constexpr std::size_t page = 4096;
    std::byte* pages_ = nullptr;
    std::size_t size_ = 0;
};

enum class StreamState { Made, Initialized, Running };

/// The stream of one device, shared by a client and its capture client.
struct Stream {
    Stream(DWORD ofThread, const std::string& deviceName) : thread(ofThread), device(deviceName), sound(deviceName) {}

    DWORD thread;
    std::string device;
    ScriptedSound sound;
    StreamState state = StreamState::Made;
    bool served = false;  ///< GetService has succeeded
    std::optional<SoundPacket> acquired;
    PacketMemory memory;
    std::int64_t delivered = 0;
    int polls = 0;

    std::string Named(const char* call) const { return std::string(call) + "." + device; }
    HRESULT Enter(const char* call) {
        const HRESULT planned = drivers::Enter(Named(call), thread);
        return planned != S_OK ? planned : sound.IsUnplugged() ? AUDCLNT_E_DEVICE_INVALIDATED : S_OK;
    }
};
using SharedStream = std::shared_ptr<Stream>;

void NotifyProgramOfPoll(int poll) {
    using Hook = void (*)(int);
    static const auto hook =
        reinterpret_cast<Hook>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(nullptr), "ZvSoundRound")));
    if (hook != nullptr) {
        hook(poll);
    }
}

// ---- The capture service ----------------------------------------------------------------------------------------

class CaptureClient final : public ComObject<IAudioCaptureClient> {
public:
    explicit CaptureClient(SharedStream stream) : ComObject("IAudioCaptureClient"), stream_(std::move(stream)) {}
    ~CaptureClient() override {
        Expect(stream_->Named("IAudioCaptureClient::Release"),
               {{!stream_->acquired || stream_->sound.IsUnplugged(), "a packet was not released"}});
    }

    HRESULT STDMETHODCALLTYPE GetBuffer(BYTE** data, UINT32* frames, DWORD* flags, UINT64* devicePosition,
                                        UINT64* stamp) override {
        if (const HRESULT answer = stream_->Enter("GetBuffer"); answer != S_OK) {
            return answer;
        }
        Expect(stream_->Named("GetBuffer"),
               {{data != nullptr && frames != nullptr && flags != nullptr, "an output pointer is null"},
                {stream_->state == StreamState::Running, "the stream does not run"},
                {!stream_->acquired, "a packet is out already"}});
        if (stream_->acquired) {
            return AUDCLNT_E_OUT_OF_ORDER;
        }
        stream_->acquired = stream_->sound.Waiting(CounterNow());
        if (!stream_->acquired) {
            *frames = 0;
            return AUDCLNT_S_BUFFER_EMPTY;
        }
        const SoundPacket& packet = *stream_->acquired;
        std::byte* bytes = stream_->memory.Commit(packet.frames * stream_->sound.Format().blockAlign);
        stream_->sound.Render(packet, bytes);
        *data = packet.noData ? nullptr : reinterpret_cast<BYTE*>(bytes);
        *frames = packet.frames;
        *flags = packet.flags;
        if (devicePosition != nullptr) {
            *devicePosition = static_cast<UINT64>(packet.index * packet.frames);
        }
        if (stamp != nullptr) {
            *stamp = static_cast<UINT64>(packet.position);
        }
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE ReleaseBuffer(UINT32 frames) override {
        if (const HRESULT answer = stream_->Enter("ReleaseBuffer"); answer != S_OK) {
            // The packet is lost.
            stream_->acquired.reset();
            return answer;
        }
        Expect(stream_->Named("ReleaseBuffer"),
               {{stream_->acquired.has_value(), "no packet is out"},
                {!stream_->acquired || frames == stream_->acquired->frames, "not all of the packet's frames"}});
        if (!stream_->acquired) {
            return AUDCLNT_E_OUT_OF_ORDER;
        }
        stream_->memory.Decommit();
        stream_->acquired.reset();
        stream_->sound.Advance();
        ++stream_->delivered;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetNextPacketSize(UINT32* frames) override {
        if (stream_->device == "render") {
            NotifyProgramOfPoll(++stream_->polls);
        }
        if (const HRESULT answer = stream_->Enter("GetNextPacketSize"); answer != S_OK) {
            return answer;
        }
        Expect(stream_->Named("GetNextPacketSize"),
               {{stream_->state == StreamState::Running, "it does not run"}, {!stream_->acquired, "a packet is out"}});
        const std::optional<SoundPacket> packet = stream_->sound.Waiting(CounterNow());
        *frames = packet ? packet->frames : 0;
        return S_OK;
    }

private:
    SharedStream stream_;
};

// ---- The client -------------------------------------------------------------------------------------------------

class Client final : public ComObject<IAudioClient> {
public:
    Client(DWORD thread, const std::string& device)
        : ComObject("IAudioClient"), stream_(std::make_shared<Stream>(thread, device)) {}
    ~Client() override {
        Expect(stream_->Named("IAudioClient::Release"),
               {{stream_->state != StreamState::Running || stream_->sound.IsUnplugged(), "the stream still runs"},
                {given_ == nullptr || IsFreed(given_), "the mix format was not freed"}});
        Note("packets." + stream_->device + " " + std::to_string(stream_->delivered));
        if (stream_->sound.Lost() != 0) {
            Note("lost." + stream_->device + " " + std::to_string(stream_->sound.Lost()));
        }
    }

    HRESULT STDMETHODCALLTYPE Initialize(AUDCLNT_SHAREMODE mode, DWORD flags, REFERENCE_TIME duration,
                                         REFERENCE_TIME period, const WAVEFORMATEX* format, LPCGUID session) override {
        const std::string call = stream_->Named("Initialize");
        const DWORD wanted = stream_->device == "render" ? AUDCLNT_STREAMFLAGS_LOOPBACK : 0;
        const bool alive = format != nullptr && given_ == format && !IsFreed(given_);
        Expect(call, {{mode == AUDCLNT_SHAREMODE_SHARED, "not shared"},
                      {flags == wanted, "other flags than the device's"},
                      {duration == 0 && period == 0, "a duration or a period is requested"},
                      {alive, "not the mix format that GetMixFormat gave"},
                      {alive && std::memcmp(&format_, format, FormatSize()) == 0, "the mix format was changed"},
                      {session == nullptr, "a session is requested"},
                      {stream_->state == StreamState::Made, "for the second time"}});
        if (const HRESULT answer = stream_->Enter("Initialize"); answer != S_OK) {
            return answer;
        }
        stream_->state = StreamState::Initialized;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetMixFormat(WAVEFORMATEX** format) override {
        if (const HRESULT answer = stream_->Enter("GetMixFormat"); answer != S_OK) {
            return answer;
        }
        Expect(stream_->Named("GetMixFormat"), {{given_ == nullptr, "for the second time"}});
        FillFormat();
        given_ = MemoryForCaller(&format_, FormatSize());
        *format = static_cast<WAVEFORMATEX*>(given_);
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetService(REFIID id, void** service) override {
        if (const HRESULT answer = stream_->Enter("GetService"); answer != S_OK) {
            return answer;
        }
        const bool known = id == __uuidof(IAudioCaptureClient);
        Expect(stream_->Named("GetService"), {{known, "a service that is not known"},
                                              {stream_->state == StreamState::Initialized, "before Initialize"},
                                              {!stream_->served, "for the second time"}});
        if (!known) {
            return E_NOINTERFACE;
        }
        if (stream_->state == StreamState::Made) {
            return AUDCLNT_E_NOT_INITIALIZED;
        }
        stream_->served = true;
        *service = new CaptureClient(stream_);
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE Start() override {
        if (const HRESULT answer = stream_->Enter("Start"); answer != S_OK) {
            return answer;
        }
        Expect(stream_->Named("Start"),
               {{stream_->served, "before GetService"}, {stream_->state == StreamState::Initialized, "not stopped"}});
        const std::int64_t now = CounterNow();
        stream_->sound.Begin(now);
        stream_->state = StreamState::Running;
        Note("Start." + stream_->device + " " + std::to_string(now));
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE Stop() override {
        Expect(stream_->Named("Stop"), {{stream_->state == StreamState::Running, "not started"},
                                        {!stream_->acquired || stream_->sound.IsUnplugged(), "a packet is out"}});
        stream_->state = StreamState::Initialized;
        Note("Stop." + stream_->device);
        return stream_->Enter("Stop");
    }

    HRESULT STDMETHODCALLTYPE GetBufferSize(UINT32*) override { return Unknown("IAudioClient::GetBufferSize"); }
    HRESULT STDMETHODCALLTYPE GetStreamLatency(REFERENCE_TIME*) override {
        return Unknown("IAudioClient::GetStreamLatency");
    }
    HRESULT STDMETHODCALLTYPE GetCurrentPadding(UINT32*) override { return Unknown("IAudioClient::GetCurrentPadding"); }
    HRESULT STDMETHODCALLTYPE IsFormatSupported(AUDCLNT_SHAREMODE, const WAVEFORMATEX*, WAVEFORMATEX**) override {
        return Unknown("IAudioClient::IsFormatSupported");
    }
    HRESULT STDMETHODCALLTYPE GetDevicePeriod(REFERENCE_TIME*, REFERENCE_TIME*) override {
        return Unknown("IAudioClient::GetDevicePeriod");
    }
    HRESULT STDMETHODCALLTYPE Reset() override { return Unknown("IAudioClient::Reset"); }
    HRESULT STDMETHODCALLTYPE SetEventHandle(HANDLE) override { return Unknown("IAudioClient::SetEventHandle"); }

private:
    std::size_t FormatSize() const { return sizeof(WAVEFORMATEX) + format_.Format.cbSize; }

    void FillFormat() {
        const SoundFormat& wanted = stream_->sound.Format();
        WAVEFORMATEX& plain = format_.Format;
        plain.wFormatTag = static_cast<WORD>(wanted.extensible ? WAVE_FORMAT_EXTENSIBLE : wanted.tag);
        plain.nChannels = static_cast<WORD>(wanted.channels);
        plain.nSamplesPerSec = wanted.rate;
        plain.wBitsPerSample = static_cast<WORD>(wanted.bits);
        plain.nBlockAlign = static_cast<WORD>(wanted.blockAlign);
        plain.nAvgBytesPerSec = wanted.rate * wanted.blockAlign;
        plain.cbSize = static_cast<WORD>(wanted.extensible ? sizeof(WAVEFORMATEXTENSIBLE) - sizeof(WAVEFORMATEX) : 0);
        format_.Samples.wValidBitsPerSample = plain.wBitsPerSample;
        format_.SubFormat = KSDATAFORMAT_SUBTYPE_PCM;
        format_.SubFormat.Data1 = wanted.tag;
    }

    SharedStream stream_;
    WAVEFORMATEXTENSIBLE format_{};
    void* given_ = nullptr;  ///< the mix format that the caller owns
};

// ---- Devices ----------------------------------------------------------------------------------------------------

class Device final : public ComObject<IMMDevice> {
public:
    Device(DWORD thread, std::string name) : ComObject("IMMDevice"), thread_(thread), name_(std::move(name)) {}

    HRESULT STDMETHODCALLTYPE Activate(REFIID id, DWORD context, PROPVARIANT* parameters, void** object) override {
        const std::string call = "Activate." + name_;
        if (const HRESULT answer = Enter(call, thread_); answer != S_OK) {
            return answer;
        }
        const bool known = id == __uuidof(IAudioClient);
        Expect(call, {{known, "an interface that is not known"},
                      {context == CLSCTX_ALL, "another context than CLSCTX_ALL"},
                      {parameters == nullptr, "parameters for a plain activation"}});
        *object = known ? new Client(thread_, name_) : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD, IPropertyStore**) override {
        return Unknown("IMMDevice::OpenPropertyStore");
    }
    HRESULT STDMETHODCALLTYPE GetId(LPWSTR*) override { return Unknown("IMMDevice::GetId"); }
    HRESULT STDMETHODCALLTYPE GetState(DWORD*) override { return Unknown("IMMDevice::GetState"); }

private:
    DWORD thread_;
    std::string name_;
};

class Enumerator final : public ComObject<IMMDeviceEnumerator> {
public:
    explicit Enumerator(DWORD thread) : ComObject("IMMDeviceEnumerator"), thread_(thread) {}

    HRESULT STDMETHODCALLTYPE GetDefaultAudioEndpoint(EDataFlow flow, ERole role, IMMDevice** device) override {
        const std::string name = flow == eRender ? "render" : "capture";
        const std::string call = "GetDefaultAudioEndpoint." + name;
        *device = nullptr;
        if (const HRESULT answer = Enter(call, thread_); answer != S_OK) {
            return answer;
        }
        Expect(call, {{flow == eRender || flow == eCapture, "neither playing nor recording"},
                      {role == eConsole, "another role than the console's"}});
        if (!RulesOf(name, "absent").empty()) {
            return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
        }
        *device = new Device(thread_, name);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE EnumAudioEndpoints(EDataFlow, DWORD, IMMDeviceCollection**) override {
        return Unknown("IMMDeviceEnumerator::EnumAudioEndpoints");
    }
    HRESULT STDMETHODCALLTYPE GetDevice(LPCWSTR, IMMDevice**) override {
        return Unknown("IMMDeviceEnumerator::GetDevice");
    }
    HRESULT STDMETHODCALLTYPE RegisterEndpointNotificationCallback(IMMNotificationClient*) override {
        return Unknown("IMMDeviceEnumerator::RegisterEndpointNotificationCallback");
    }
    HRESULT STDMETHODCALLTYPE UnregisterEndpointNotificationCallback(IMMNotificationClient*) override {
        return Unknown("IMMDeviceEnumerator::UnregisterEndpointNotificationCallback");
    }

private:
    DWORD thread_;
};

/// Lives as long as the DLL; references are not counted.
class Factory final : public IClassFactory {
public:
    virtual ~Factory() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
        const bool known = id == __uuidof(IUnknown) || id == __uuidof(IClassFactory);
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id, void** object) override {
        WatchThisThread();
        *object = nullptr;
        ReadScript();
        if (const HRESULT answer = Enter("CreateInstance", GetCurrentThreadId()); answer != S_OK) {
            return answer;
        }
        const bool known = outer == nullptr && id == __uuidof(IMMDeviceEnumerator);
        Expect("CreateInstance", {{known, "another interface than the enumerator's"}});
        *object = known ? new Enumerator(GetCurrentThreadId()) : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    HRESULT STDMETHODCALLTYPE LockServer(WINBOOL) override { return S_OK; }
};

}  // namespace
}  // namespace zv::drivers

extern "C" {

__declspec(dllexport) HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID, REFIID id, void** object) {
    static zv::drivers::Factory factory;
    zv::drivers::KeepLoaded();
    return factory.QueryInterface(id, object);
}

__declspec(dllexport) HRESULT STDAPICALLTYPE DllCanUnloadNow() { return S_FALSE; }

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*);
BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) {
        zv::drivers::NameModule("sound");
    }
    if (reason == DLL_THREAD_DETACH) {
        zv::drivers::OnThreadEnd();
    }
    if (reason == DLL_PROCESS_DETACH) {
        if (const std::string left = zv::drivers::LiveObjects(); !left.empty()) {
            zv::drivers::Complain("the process ended with these held: " + left);
        }
    }
    return TRUE;
}

}  // extern "C"
