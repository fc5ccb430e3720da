// The double of the wave input functions and the timer's resolution (winmm.dll): one microphone, scripted by the rules
// of ScriptedSound.h for the device "wave", always 16 bits at 48 kHz. Rules for "fail" and "delay" name the functions.
// Further rules:
//   set wave short NTH BYTES     the NTH buffer is returned with so many bytes
//   set wave name NAME           another input's name; the microphone itself is "Microphone"
// A thread fills the buffers in the order in which they were queued. It complains about headers that are not prepared,
// queued twice, freed while they are queued, or still prepared when the device is closed.
#define _WINMM_  // the functions are defined here and not imported
#include <windows.h>

#include <mmsystem.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

#include "windows/drivers/CallChecker.h"
#include "windows/drivers/ScriptedSound.h"

namespace zv::drivers {
namespace {

constexpr std::size_t bufferSamples = 480;

struct WaveDevice {
    ScriptedSound sound{"wave", waveFormat};
    DWORD owner = GetCurrentThreadId();

    std::mutex mutex;  ///< guards the following fields
    std::set<WAVEHDR*> prepared;
    std::deque<WAVEHDR*> queue;
    bool running = false;
    std::int64_t returned = 0;

    std::atomic<bool> ends{false};
    std::thread thread;

    MMRESULT Enter(const std::string& name) {
        if (GetCurrentThreadId() != owner) {
            Complain(name + " from a second thread");
        }
        const ScriptedResult scripted = CountCall(name.c_str());
        return scripted.fails ? static_cast<MMRESULT>(scripted.code) : MMSYSERR_NOERROR;
    }
};

/// The open device, or null.
std::atomic<WaveDevice*> openDevice{nullptr};

std::atomic<int> fineTimers{0};

/// The device of a handle. Complains and returns null if it is not open.
WaveDevice* DeviceOf(HWAVEIN handle, const char* call) {
    WaveDevice* device = openDevice;
    if (device == nullptr || reinterpret_cast<WaveDevice*>(handle) != device) {
        Complain(std::string(call) + ": no open device");
        return nullptr;
    }
    return device;
}

std::size_t BytesOfBuffer(std::int64_t nth) {
    for (const Words& words : RulesOf("wave", "short")) {
        if (Number(words.at(0)) == nth) {
            return static_cast<std::size_t>(Number(words.at(1)));
        }
    }
    return bufferSamples * 2;
}

/// Returns the oldest buffer with the next packet in it. Called with the mutex held.
void FillOldest(WaveDevice& device, const SoundPacket& packet) {
    WAVEHDR& header = *device.queue.front();
    device.queue.pop_front();
    const std::size_t bytes = std::min<std::size_t>(BytesOfBuffer(++device.returned), header.dwBufferLength);
    std::byte whole[bufferSamples * 2];
    device.sound.Render(packet, whole);
    std::memcpy(header.lpData, whole, bytes);
    header.dwBytesRecorded = static_cast<DWORD>(bytes);
    header.dwFlags = (header.dwFlags & ~static_cast<DWORD>(WHDR_INQUEUE)) | WHDR_DONE;
    device.sound.Advance();
}

void RunDevice(WaveDevice& device) {
    while (!device.ends) {
        Sleep(1);
        const std::lock_guard lock(device.mutex);
        while (device.running && !device.queue.empty()) {
            const std::optional<SoundPacket> packet = device.sound.Waiting(CounterNow());
            if (!packet) {
                break;
            }
            FillOldest(device, *packet);
        }
    }
}

void Expect(const char* call, bool met, const char* otherwise) {
    if (!met) {
        Complain(std::string(call) + ": " + otherwise);
    }
}

bool IsTheFormat(const WAVEFORMATEX& format) {
    return format.wFormatTag == WAVE_FORMAT_PCM && format.nChannels == 1 && format.nSamplesPerSec == 48000 &&
           format.nAvgBytesPerSec == 96000 && format.nBlockAlign == 2 && format.wBitsPerSample == 16;
}

MMRESULT Open(HWAVEIN* handle, UINT id, const WAVEFORMATEX* format, DWORD_PTR callback, DWORD flags) {
    NameModule("wave");
    ReadScript();
    auto device = std::make_unique<WaveDevice>();
    if (const MMRESULT answer = device->Enter("waveInOpen"); answer != 0) {
        return answer;
    }
    Expect("waveInOpen", openDevice == nullptr, "a device is open already");
    Expect("waveInOpen", id == WAVE_MAPPER, "not the default input");
    Expect("waveInOpen", format != nullptr && IsTheFormat(*format), "not 48 kHz, 16 bits, one channel");
    Expect("waveInOpen", callback == 0 && flags == CALLBACK_NULL, "with a callback");
    device->thread = std::thread([made = device.get()] { RunDevice(*made); });
    openDevice = device.release();
    *handle = reinterpret_cast<HWAVEIN>(openDevice.load());
    Note("waveInOpen");
    return MMSYSERR_NOERROR;
}

MMRESULT Prepare(HWAVEIN handle, WAVEHDR* header, UINT size) {
    WaveDevice* device = DeviceOf(handle, "waveInPrepareHeader");
    if (device == nullptr) {
        return MMSYSERR_INVALHANDLE;
    }
    if (const MMRESULT answer = device->Enter("waveInPrepareHeader"); answer != 0) {
        return answer;
    }
    Expect("waveInPrepareHeader", size == sizeof(WAVEHDR) && header->lpData != nullptr, "no buffer");
    Expect("waveInPrepareHeader", header->dwBufferLength == bufferSamples * 2, "not 10 ms");
    Expect("waveInPrepareHeader", header->dwFlags == 0, "flags are set");
    const std::lock_guard lock(device->mutex);
    header->dwFlags = WHDR_PREPARED;
    device->prepared.insert(header);
    return MMSYSERR_NOERROR;
}

MMRESULT Queue(HWAVEIN handle, WAVEHDR* header, UINT size) {
    WaveDevice* device = DeviceOf(handle, "waveInAddBuffer");
    if (device == nullptr) {
        return MMSYSERR_INVALHANDLE;
    }
    if (const MMRESULT answer = device->Enter("waveInAddBuffer"); answer != 0) {
        return answer;
    }
    const std::lock_guard lock(device->mutex);
    const bool queued = std::find(device->queue.begin(), device->queue.end(), header) != device->queue.end();
    Expect("waveInAddBuffer", size == sizeof(WAVEHDR) && device->prepared.count(header) != 0, "it is not prepared");
    Expect("waveInAddBuffer", !queued, "it is queued already");
    Expect("waveInAddBuffer", header->dwBytesRecorded == 0, "bytes are recorded");
    header->dwFlags = (header->dwFlags & ~static_cast<DWORD>(WHDR_DONE)) | WHDR_INQUEUE;
    device->queue.push_back(header);
    return MMSYSERR_NOERROR;
}

MMRESULT Start(HWAVEIN handle) {
    WaveDevice* device = DeviceOf(handle, "waveInStart");
    if (device == nullptr) {
        return MMSYSERR_INVALHANDLE;
    }
    if (const MMRESULT answer = device->Enter("waveInStart"); answer != 0) {
        return answer;
    }
    const std::lock_guard lock(device->mutex);
    Expect("waveInStart", device->queue.size() == 4, "not all buffers are queued");
    Expect("waveInStart", !device->running, "it runs already");
    const std::int64_t now = CounterNow();
    device->sound.Begin(now);
    device->running = true;
    Note("Start.wave " + std::to_string(now));
    return MMSYSERR_NOERROR;
}

MMRESULT Position(HWAVEIN handle, const MMTIME* time, UINT size) {
    WaveDevice* device = DeviceOf(handle, "waveInGetPosition");
    if (device == nullptr) {
        return MMSYSERR_INVALHANDLE;
    }
    Expect("waveInGetPosition", size == sizeof(MMTIME) && time->wType == TIME_SAMPLES, "not in samples");
    return device->Enter("waveInGetPosition");
}

MMRESULT Reset(HWAVEIN handle) {
    WaveDevice* device = DeviceOf(handle, "waveInReset");
    if (device == nullptr) {
        return MMSYSERR_INVALHANDLE;
    }
    const std::lock_guard lock(device->mutex);
    device->running = false;
    for (WAVEHDR* header : device->queue) {
        header->dwBytesRecorded = 0;
        header->dwFlags = (header->dwFlags & ~static_cast<DWORD>(WHDR_INQUEUE)) | WHDR_DONE;
    }
    device->queue.clear();
    return device->Enter("waveInReset");
}

MMRESULT Unprepare(HWAVEIN handle, WAVEHDR* header) {
    WaveDevice* device = DeviceOf(handle, "waveInUnprepareHeader");
    if (device == nullptr) {
        return MMSYSERR_INVALHANDLE;
    }
    const std::lock_guard lock(device->mutex);
    const bool queued = std::find(device->queue.begin(), device->queue.end(), header) != device->queue.end();
    Expect("waveInUnprepareHeader", !queued, "the device still has it");
    Expect("waveInUnprepareHeader", device->prepared.erase(header) == 1, "it is not prepared");
    header->dwFlags &= ~static_cast<DWORD>(WHDR_PREPARED);
    return device->Enter("waveInUnprepareHeader");
}

MMRESULT Close(HWAVEIN handle) {
    WaveDevice* device = DeviceOf(handle, "waveInClose");
    if (device == nullptr) {
        return MMSYSERR_INVALHANDLE;
    }
    const MMRESULT answer = device->Enter("waveInClose");
    device->ends = true;
    device->thread.join();
    Expect("waveInClose", device->queue.empty(), "the device still has buffers");
    Expect("waveInClose", device->prepared.empty(), "headers are left prepared");
    Note("waveInClose");
    openDevice = nullptr;
    delete device;
    return answer;
}

std::vector<std::string> InputNames() {
    ReadScript();
    std::vector<std::string> names{"Microphone"};
    for (const Words& words : RulesOf("wave", "name")) {
        names.push_back(words.at(0));
    }
    return names;
}

/// Fills a name as the system does: cut to 31 units and a zero.
void WriteName(const std::string& name, wchar_t (&to)[MAXPNAMELEN]) {
    const std::size_t count = std::min<std::size_t>(name.size(), MAXPNAMELEN - 1);
    std::copy_n(name.begin(), count, to);
    to[count] = 0;
}

}  // namespace
}  // namespace zv::drivers

using namespace zv::drivers;

extern "C" {

MMRESULT WINAPI waveInOpen(HWAVEIN* handle, UINT id, LPCWAVEFORMATEX format, DWORD_PTR callback, DWORD_PTR,
                           DWORD flags) {
    return Open(handle, id, format, callback, flags);
}
MMRESULT WINAPI waveInPrepareHeader(HWAVEIN handle, WAVEHDR* header, UINT size) {
    return Prepare(handle, header, size);
}
MMRESULT WINAPI waveInAddBuffer(HWAVEIN handle, WAVEHDR* header, UINT size) { return Queue(handle, header, size); }
MMRESULT WINAPI waveInStart(HWAVEIN handle) { return Start(handle); }
MMRESULT WINAPI waveInGetPosition(HWAVEIN handle, MMTIME* time, UINT size) { return Position(handle, time, size); }
MMRESULT WINAPI waveInReset(HWAVEIN handle) { return Reset(handle); }
MMRESULT WINAPI waveInUnprepareHeader(HWAVEIN handle, WAVEHDR* header, UINT) { return Unprepare(handle, header); }
MMRESULT WINAPI waveInClose(HWAVEIN handle) { return Close(handle); }

MMRESULT WINAPI timeBeginPeriod(UINT milliseconds) {
    Expect("timeBeginPeriod", milliseconds == 1, "another resolution");
    ++fineTimers;
    return TIMERR_NOERROR;
}
MMRESULT WINAPI timeEndPeriod(UINT milliseconds) {
    Expect("timeEndPeriod", milliseconds == 1 && fineTimers-- > 0, "without its timeBeginPeriod");
    return TIMERR_NOERROR;
}

UINT WINAPI waveInGetNumDevs() { return static_cast<UINT>(InputNames().size()); }
MMRESULT WINAPI waveInGetDevCapsW(UINT_PTR index, WAVEINCAPSW* caps, UINT size) {
    Expect("waveInGetDevCapsW", size == sizeof(WAVEINCAPSW), "another size");
    const std::vector<std::string> names = InputNames();
    if (index >= names.size()) {
        return MMSYSERR_BADDEVICEID;
    }
    WriteName(names[index], caps->szPname);
    return MMSYSERR_NOERROR;
}
UINT WINAPI waveOutGetNumDevs() { return 1; }
MMRESULT WINAPI waveOutGetDevCapsW(UINT_PTR index, WAVEOUTCAPSW* caps, UINT size) {
    Expect("waveOutGetDevCapsW", size == sizeof(WAVEOUTCAPSW), "another size");
    if (index > 0) {
        return MMSYSERR_BADDEVICEID;
    }
    WriteName("Speakers", caps->szPname);
    return MMSYSERR_NOERROR;
}

}  // extern "C"
