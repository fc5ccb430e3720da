// The graphics adapters that the kernel lists.
#pragma once

#include <filesystem>
#include <vector>

#include "platform/Monitors.h"

namespace zv {

/// Reads the cards in `folder`, which has the layout of /sys/class/drm, in the order of their numbers. Returns false if
/// there is no such folder.
bool ReadAdapters(const std::filesystem::path& folder, std::vector<AdapterRecord>& adapters);

}  // namespace zv
