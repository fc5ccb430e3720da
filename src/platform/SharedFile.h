// Reads a file that another process may be writing, replacing or deleting, block by block. One thread a file.
#pragma once

#include <cstddef>
#include <filesystem>

#include "platform/Owned.h"

namespace zv {

struct SharedFile;
template <>
void Closer<SharedFile>::operator()(SharedFile* file) const noexcept;

/// Opens an existing file for reading. Others may read, write and delete it while it is open. Returns null if it cannot
/// be opened.
Owned<SharedFile> OpenSharedFile(const std::filesystem::path& path);

/// Reads up to `size` bytes into `bytes`. Returns their number: 0 at the end of the file and on failure.
std::size_t ReadBlock(SharedFile& file, std::byte* bytes, std::size_t size);

}  // namespace zv
