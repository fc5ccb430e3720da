// The audio devices of the machine by name, for display only. Any thread.
#pragma once

#include <vector>

#include "core/Text.h"

namespace zv {

struct AudioDeviceName {
    Text name;
    bool input = false;  ///< true: records; false: plays
};

/// Returns all input devices, then all output devices, in the system's order. Empty on failure.
std::vector<AudioDeviceName> ListAudioDeviceNames();

}  // namespace zv
