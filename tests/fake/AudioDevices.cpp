#include "fake/AudioDevices.h"

namespace zv {

std::vector<AudioDeviceName> ListAudioDeviceNames() {
    const fake::Call call("ListAudioDeviceNames");
    return fake::TheAudioDevices();
}

bool OpenSoundSettings() { return !fake::Call("OpenSoundSettings").Fails(); }

namespace fake {

std::vector<AudioDeviceName>& TheAudioDevices() {
    static std::vector<AudioDeviceName> devices;
    return devices;
}

}  // namespace fake
}  // namespace zv
