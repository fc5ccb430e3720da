// On Linux an open file can always be replaced and deleted.
#include "platform/SharedFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/linux/posix/Posix.h"

namespace zv {

struct SharedFile {
    Descriptor descriptor;
};

template <>
void Closer<SharedFile>::operator()(SharedFile* file) const noexcept {
    delete file;
}

Owned<SharedFile> OpenSharedFile(const std::filesystem::path& path) {
    // O_NONBLOCK, because the file may be a FIFO, and opening one waits for a writer.
    Descriptor descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!descriptor.Held()) {
        return nullptr;
    }
    return Owned<SharedFile>(new SharedFile{std::move(descriptor)});
}

std::size_t ReadBlock(SharedFile& file, std::byte* bytes, std::size_t size) {
    ssize_t count = 0;
    do {
        count = read(file.descriptor.Get(), bytes, size);
    } while (count < 0 && errno == EINTR);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

}  // namespace zv
