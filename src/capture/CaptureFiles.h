// The files that a capture leaves on disk: their folders, reading them while they are written, and telling whether one
// holds media.
#pragma once

#include <string>

#include "core/Text.h"

namespace zv {

/// A file that a child may be writing: its first 0x100000 bytes, to the next full block of 4096. Empty if it cannot be
/// opened.
std::string ReadFileCapped(TextView path);

/// True when the file can be examined and is at least 1025 bytes long. Less than that is no finished MP4.
bool HasMediaData(TextView path);

/// `outputPath` with ".partial.mp4" behind it: the name under which a file is written until it is whole.
Text WorkingName(TextView outputPath);

}  // namespace zv
