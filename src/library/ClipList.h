// The list of clips, which is read from the folders once at start-up.
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
    std::size_t selected = 0;   ///< index of a row; 0 if the list is empty
};

/// The only list of the process. Interface thread.
ClipList& CurrentClipList();

/// Lists the files directly in the clips folder, and in the recordings folder if it is a different one. A missing
/// folder counts as empty.
void RefreshClipList(const Text& clipsFolder, const Text& recordingsFolder);

}  // namespace zv
