// Reads the entries of a folder one by one. Any thread, one thread a reader.
#pragma once

#include <optional>

#include "core/Text.h"
#include "platform/Files.h"
#include "platform/Owned.h"

namespace zv {

struct FolderEntry {
    Text name;
    bool isFolder = false;           ///< a folder itself, not a link or a junction to one
    std::optional<FileFacts> facts;  ///< of a regular file that is no link, if the folder records them
};

struct FolderReader;
template <>
void Closer<FolderReader>::operator()(FolderReader* reader) const noexcept;

/// Opens a folder. A folder that the user may not read opens as an empty one. Returns null if the folder cannot be
/// opened for another reason.
Owned<FolderReader> OpenFolder(TextView path);

enum class FolderRead { Entry, End, Failed };

/// Reads the next entry, in an order of the system's. Skips "." and "..". Facts from a folder can be older than those
/// of ExamineFile while another process writes the file.
FolderRead ReadEntry(FolderReader& reader, FolderEntry& entry);

}  // namespace zv
