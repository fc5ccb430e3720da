// The audio devices of the machine by name, for display only, and the system's settings of them. Any thread.
#pragma once

#include <vector>

#include "core/Text.h"

namespace zv {

struct AudioDeviceName {
    Text name;
    bool input = false;  ///< true: records; false: plays
};

/// Returns all input devices, then all output devices, in the system's order, on Linux the default device of each kind
/// first. Empty on failure. Waits for the sound server.
std::vector<AudioDeviceName> ListAudioDeviceNames();

/// Opens the system's page of devices and volumes. Returns false if there is none. Interface thread.
bool OpenSoundSettings();

}  // namespace zv
