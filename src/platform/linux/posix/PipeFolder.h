// The private folder of this process's pipes.
//
// It is created with the first pipe and removed with the last one. It is locked while it is in use, so that a later
// process can recognize and remove the folder of a killed process.
#pragma once

#include <string>

namespace zv {

/// "zorvel-<user>-<process>" in the user's runtime folder, else in TMPDIR, else in /tmp.
const std::string& PipeFolderPath();

/// Adds a pipe to the folder's count; the first one creates the folder. Returns false and sets errno on failure.
bool AcquirePipeFolder();

/// Removes a pipe from the folder's count; the last one removes the folder.
void ReleasePipeFolder();

}  // namespace zv
