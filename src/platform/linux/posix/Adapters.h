// The graphics adapters as the kernel lists them.
#pragma once

#include <filesystem>
#include <vector>

#include "platform/Monitors.h"

namespace zv {

/// The cards under `folder` (of the shape of /sys/class/drm) in the order of their numbers. False when there is no
/// such folder.
bool ReadAdapters(const std::filesystem::path& folder, std::vector<AdapterRecord>& adapters);

}  // namespace zv
