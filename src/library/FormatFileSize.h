// The text of a file's size.
#pragma once

#include <cstdint>

#include "core/Text.h"

namespace zv {

/// "512 B", "1.5 KB", "20.0 MB" or "3.1 GB", in units of 1024.
Text FormatFileSize(std::uint64_t bytes);

}  // namespace zv
