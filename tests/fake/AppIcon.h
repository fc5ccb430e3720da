// Icons that record what they were made from.
#pragma once

#include <vector>

#include "fake/Calls.h"
#include "platform/AppIcon.h"

namespace zv::fake {

struct IconRecord {
    int size = 0;
    bool fromResource = false;
    std::vector<std::uint32_t> pixels;  ///< empty if the icon was made from the resource
};

/// False: the program has no icon resource. ResetIcons sets it to true.
bool& HasProgramIcon();
int& LiveIcons();
void ResetIcons();
const IconRecord& RecordOf(const AppIcon& icon);

}  // namespace zv::fake
