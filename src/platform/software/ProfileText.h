// The rules by which Windows reads INI files, for systems that have no such service.
#pragma once

#include <string_view>

#include "core/Text.h"

namespace zv {

/// The value that ProfileFile.h describes, in the bytes of a file. They are UTF-16 with a mark, UTF-8, or else
/// Windows-1252.
Text FindProfileText(std::string_view file, TextView section, TextView key);

}  // namespace zv
