// The sound devices as the settings page shows them. Interface thread only.
#pragma once

#include <optional>

#include "core/Text.h"

namespace zv {

/// Lists the devices on a worker, because the sound server may be slow, unless the known list is newer than two
/// seconds. Called by each paint that shows them.
void QueueSoundDevices();

/// Returns false if no list is finished.
bool CollectSoundDevices();

/// The name of the first device; empty if there is none; nothing before the first list has been collected.
std::optional<Text> FirstInputName();
std::optional<Text> FirstOutputName();

}  // namespace zv
