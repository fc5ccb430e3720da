// The sound devices as a test sets them. Calls are recorded as "ListAudioDeviceNames" and "OpenSoundSettings", which
// fails if it is planned to.
#pragma once

#include "fake/Calls.h"
#include "platform/AudioDevices.h"

namespace zv::fake {

/// Set while no list runs.
std::vector<AudioDeviceName>& TheAudioDevices();

}  // namespace zv::fake
