// Conversion between text and paths, what the system records of a file, folders, copies and moves. Any thread.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <system_error>

#include "core/Text.h"
#include "platform/Result.h"

namespace zv {

/// Convert between text and a native path. Never throw for invalid Unicode, and change no file name: on Linux a lone
/// surrogate is converted to its three-byte form, and a byte that is not UTF-8 to the unit 0xDC00 + byte.
std::filesystem::path ToPath(TextView text);
Text FromPath(const std::filesystem::path& path);

/// True if names of files are bytes, usually UTF-8; false if they are UTF-16.
extern const bool namesAreUtf8;

/// "\" or "/".
extern const char16_t pathSeparator;

/// Joins `folder` and `name` with one separator. Returns `name` if it is absolute.
Text JoinPath(TextView folder, TextView name);

/// What the system records of a file.
struct FileFacts {
    std::uint64_t size = 0;    ///< bytes
    std::int64_t written = 0;  ///< time of the last write, in units of 100 ns since 1601 (UTC)
};

/// Examines a regular file. The facts are current even while another process writes the file. Returns nullopt if `path`
/// names no regular file or the system cannot examine it.
std::optional<FileFacts> ExamineFile(TextView path);

/// Returns true if `path` names a file or folder. A volume or server that is not reachable has none. Throws a
/// filesystem_error named "exists" if the system cannot check.
bool PathExists(TextView path);

/// Creates a folder and its missing parents. Returns no error if the folder exists afterwards.
std::error_code CreateFolders(const std::filesystem::path& folder);

/// Creates a file that nobody else can open, and removes it at once. Returns false if it cannot be created or exists.
bool TryCreateFile(TextView path);

/// Copies a file. Others may delete `from` meanwhile. Fails if `to` exists.
Result CopyToNewFile(TextView from, TextView to);

/// Renames `from` to `to`, replacing an existing file. Copies if they are on different volumes; then the move succeeds
/// even if `from` cannot be removed.
Result MoveFileReplacing(TextView from, TextView to);

}  // namespace zv
