#include "platform/AudioDevices.h"

#include "platform/windows/Native.h"

namespace zv {
namespace {

void AppendInputs(std::vector<AudioDeviceName>& names) {
    const UINT count = waveInGetNumDevs();
    for (UINT index = 0; index < count; ++index) {
        WAVEINCAPSW caps{};
        if (waveInGetDevCapsW(index, &caps, sizeof caps) == MMSYSERR_NOERROR) {
            names.push_back({TextOf(caps.szPname), true});
        }
    }
}

void AppendOutputs(std::vector<AudioDeviceName>& names) {
    const UINT count = waveOutGetNumDevs();
    for (UINT index = 0; index < count; ++index) {
        WAVEOUTCAPSW caps{};
        if (waveOutGetDevCapsW(index, &caps, sizeof caps) == MMSYSERR_NOERROR) {
            names.push_back({TextOf(caps.szPname), false});
        }
    }
}

}  // namespace

std::vector<AudioDeviceName> ListAudioDeviceNames() {
    std::vector<AudioDeviceName> names;
    AppendInputs(names);
    AppendOutputs(names);
    return names;
}

bool OpenSoundSettings() {
    constexpr INT_PTR lastError = 32;
    const HINSTANCE opened = ShellExecuteW(nullptr, L"open", L"ms-settings:sound", nullptr, nullptr, SW_SHOWNORMAL);
    return reinterpret_cast<INT_PTR>(opened) > lastError;
}

}  // namespace zv
