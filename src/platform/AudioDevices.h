// The audio devices of the machine by name, for display only. Any thread.
#pragma once

#include <vector>

#include "core/Text.h"

namespace zv {

struct AudioDeviceName {
    Text name;
    bool input = false;  ///< records; else it plays
};

/// All devices that record, then all that play, in the system's order. Empty if the system does not answer.
std::vector<AudioDeviceName> ListAudioDeviceNames();

}  // namespace zv
