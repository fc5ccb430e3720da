// What std::filesystem lacks: text to path and back, shared reading, a replacing move. Any thread.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

#include "core/Text.h"
#include "platform/Result.h"

namespace zv {

/// The native path of `text`, and back. Names that are not valid Unicode do not throw: on Linux a lone surrogate
/// becomes its three-byte form, and a byte that is not UTF-8 becomes the unit 0xDC00 + byte, so that every file name
/// survives the conversion in both directions.
std::filesystem::path ToPath(TextView text);
Text FromPath(const std::filesystem::path& path);

/// "\" or "/".
extern const char16_t pathSeparator;

/// `folder` and `name` joined with one separator between them; an absolute `name` replaces the folder.
Text JoinPath(TextView folder, TextView name);

/// Reads a file that another process may be writing, replacing or deleting, in blocks of 4096 bytes, until a read
/// fails, gives nothing, or at least `cap` bytes are there. Empty when the file cannot be opened.
std::string ReadSharedFile(TextView path, std::size_t cap);

/// Renames `from` to `to`, replacing an existing file and copying across volumes. A copy succeeds even where `from`
/// cannot be removed and stays.
Result MoveFileReplacing(TextView from, TextView to);

}  // namespace zv
