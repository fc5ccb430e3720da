// The integrity of PNG files, because decoders show the part of a damaged file that they can read.
#pragma once

#include "core/Text.h"

namespace zv {

/// Returns true if a file that begins as a PNG file ends before its last chunk, or if the checksum of a chunk is wrong.
/// Files of other kinds are not examined.
bool IsDamagedPng(const Text& path);

}  // namespace zv
