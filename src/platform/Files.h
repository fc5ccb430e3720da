// Conversion between text and paths, and a move that replaces its target. Any thread.
#pragma once

#include <filesystem>

#include "core/Text.h"
#include "platform/Result.h"

namespace zv {

/// Convert between text and a native path. Never throw for invalid Unicode, and change no file name: on Linux a lone
/// surrogate is converted to its three-byte form, and a byte that is not UTF-8 to the unit 0xDC00 + byte.
std::filesystem::path ToPath(TextView text);
Text FromPath(const std::filesystem::path& path);

/// "\" or "/".
extern const char16_t pathSeparator;

/// Joins `folder` and `name` with one separator. Returns `name` if it is absolute.
Text JoinPath(TextView folder, TextView name);

/// Renames `from` to `to`, replacing an existing file. Copies if they are on different volumes; then the move succeeds
/// even if `from` cannot be removed.
Result MoveFileReplacing(TextView from, TextView to);

}  // namespace zv
