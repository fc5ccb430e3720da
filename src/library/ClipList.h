// The plain listing of the clip folders that is made once at start-up.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/Text.h"

namespace zv {

struct ClipRow {
    Text path;
    std::uint64_t size = 0;  ///< bytes
};

struct ClipList {
    std::vector<ClipRow> rows;  ///< newest first
    std::size_t selected = 0;   ///< within the rows, 0 when there are none
};

/// The one list of the process. Interface thread.
ClipList& CurrentClipList();

/// Lists the top level of the clips folder, and of the recordings folder if that is another one. A missing folder
/// counts as empty.
void RefreshClipList(const Text& clipsFolder, const Text& recordingsFolder);

}  // namespace zv
