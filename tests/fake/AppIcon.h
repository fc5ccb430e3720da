// Icons that remember what they were made from.
#pragma once

#include <vector>

#include "fake/Calls.h"
#include "platform/AppIcon.h"

namespace zv::fake {

struct IconRecord {
    int size = 0;
    bool fromResource = false;
    std::vector<std::uint32_t> pixels;  ///< empty when it came from the resource
};

/// False: the program carries no icon of its own. True again after ResetIcons.
bool& HasProgramIcon();
int& LiveIcons();
void ResetIcons();
const IconRecord& RecordOf(const AppIcon& icon);

}  // namespace zv::fake
