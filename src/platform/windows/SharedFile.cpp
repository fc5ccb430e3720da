// Opens files with read, write and delete sharing, so that FFmpeg can delete a segment that is being read.
#include "platform/SharedFile.h"

#include <algorithm>
#include <new>

#include "platform/windows/Native.h"

namespace zv {

struct SharedFile {
    Handle handle;
};

template <>
void Closer<SharedFile>::operator()(SharedFile* file) const noexcept {
    delete file;
}

Owned<SharedFile> OpenSharedFile(const std::filesystem::path& path) {
    Handle handle(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                              nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return Owned<SharedFile>(handle ? new (std::nothrow) SharedFile{std::move(handle)} : nullptr);
}

std::size_t ReadBlock(SharedFile& file, std::byte* bytes, std::size_t size) {
    DWORD count = 0;
    const DWORD wanted = static_cast<DWORD>(std::min<std::size_t>(size, 0x40000000));
    return ReadFile(file.handle.Get(), bytes, wanted, &count, nullptr) ? count : 0;
}

}  // namespace zv
