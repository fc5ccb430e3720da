#include "platform/linux/x11/SharedMemory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/linux/posix/Posix.h"
#include "platform/linux/x11/Extensions.h"
#include "platform/linux/x11/Xcb.h"

namespace zv::x11 {
namespace {

/// Returns null and sets errno if there is not enough memory.
PixelMemory MapFile(int descriptor, std::size_t size) {
    void* mapped = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    if (mapped == MAP_FAILED) {
        return nullptr;
    }
    return {static_cast<std::uint8_t*>(mapped), [size](std::uint8_t* bytes) { munmap(bytes, size); }};
}

}  // namespace

SharedMemory& SharedMemory::operator=(SharedMemory&& other) noexcept {
    if (this != &other) {
        Detach();
        connection_ = std::exchange(other.connection_, nullptr);
        segment_ = std::exchange(other.segment_, xcb_shm_seg_t{XCB_NONE});
        size_ = std::exchange(other.size_, 0);
        bytes_ = std::move(other.bytes_);
    }
    return *this;
}

Result SharedMemory::Attach(xcb_connection_t* connection, std::size_t size, ServerAccess access) {
    Detach();
    if (!HasExtension(connection, xcb_shm_id)) {
        return ResultOfSystemError(xcb_connection_has_error(connection) != 0 ? EPIPE : EOPNOTSUPP);
    }
    Descriptor file(memfd_create("zorvel-pixels", MFD_CLOEXEC));
    if (!file.Held() || ftruncate(file.Get(), static_cast<off_t>(size)) != 0) {
        return LastError();
    }
    PixelMemory bytes = MapFile(file.Get(), size);
    if (!bytes) {
        return LastError();
    }
    const xcb_shm_seg_t segment = xcb_generate_id(connection);
    const bool readOnly = access == ServerAccess::Read;
    // XCB closes the descriptor.
    const Reply<xcb_generic_error_t> error(
        xcb_request_check(connection, xcb_shm_attach_fd_checked(connection, segment, file.Release(), readOnly)));
    if (error || xcb_connection_has_error(connection) != 0) {
        return ResultOfSystemError(xcb_connection_has_error(connection) != 0 ? EPIPE : EOPNOTSUPP);
    }
    connection_ = connection;
    segment_ = segment;
    size_ = size;
    bytes_ = std::move(bytes);
    return resultOk;
}

void SharedMemory::Detach() noexcept {
    if (segment_ != XCB_NONE && xcb_connection_has_error(connection_) == 0) {
        xcb_shm_detach(connection_, segment_);
        xcb_flush(connection_);
    }
    segment_ = XCB_NONE;
    size_ = 0;
    bytes_.reset();
}

}  // namespace zv::x11
