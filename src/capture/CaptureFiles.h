// The files that a capture leaves on disk: reading them while they are written, and checking whether
// one holds media.
#pragma once

#include <string>

#include "core/Text.h"

namespace zv {

/// A file that a child may be writing: its first 0x100000 bytes, to the next full block of 4096. Empty if it cannot be
/// opened.
std::string ReadFileCapped(TextView path);

/// Returns true if the file can be examined and has at least 1025 bytes. A finished MP4 is never shorter.
bool HasMediaData(TextView path);

/// `outputPath` with the suffix ".partial.mp4": the name of a file until it is complete.
Text WorkingName(TextView outputPath);

}  // namespace zv
