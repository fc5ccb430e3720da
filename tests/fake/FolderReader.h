// Folders in memory. A folder that the test has not set cannot be opened. OpenFolder of the others, and ReadEntry, are
// recorded and can be made to fail (Calls.h); OpenFolder's subject is the last part of the path.
#pragma once

#include <map>
#include <vector>

#include "platform/FolderReader.h"

namespace zv::fake {

/// The entries of each folder, by its path. Set it only while no worker reads.
std::map<Text, std::vector<FolderEntry>>& TheFolderEntries();

/// The readers that have not been closed.
int OpenFolderReaders();

}  // namespace zv::fake
