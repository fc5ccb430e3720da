// The private folder of this process in which its pipes appear.
//
// It is made with the first pipe and removed with the last. As long as it is used it is locked, so that a later
// process can tell what one that was killed has left, and removes it.
#pragma once

#include <string>

namespace zv {

/// "zorvel-<user>-<process>" in the user's runtime folder, else in TMPDIR, else in /tmp.
const std::string& PipeFolderPath();

/// Counts one more pipe in the folder and makes it when there is none. False with errno set when that fails.
bool EnterPipeFolder();

/// Counts one pipe less.
void LeavePipeFolder();

}  // namespace zv
