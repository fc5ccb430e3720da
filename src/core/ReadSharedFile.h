// Reads a whole file that another process may be writing, replacing or deleting. Any thread.
#pragma once

#include <cstddef>
#include <string>

#include "core/Text.h"

namespace zv {

/// Reads blocks of 4096 bytes until a read fails or returns no bytes, or until at least `cap` bytes have been read.
/// Returns an empty string if the file cannot be opened.
std::string ReadSharedFile(TextView path, std::size_t cap);

}  // namespace zv
