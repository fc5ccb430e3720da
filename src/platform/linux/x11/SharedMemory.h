// Memory that this process and the X server both map.
#pragma once

#include <xcb/shm.h>
#include <xcb/xcb.h>

#include <cstddef>

#include "platform/Result.h"
#include "platform/software/PixelMemory.h"

namespace zv::x11 {

/// The server's access to the memory.
enum class ServerAccess { Read, ReadWrite };

/// Owns the server's attachment. Used by the connection's thread. The connection must outlive it.
class SharedMemory {
public:
    SharedMemory() = default;
    SharedMemory(SharedMemory&& other) noexcept { *this = std::move(other); }
    SharedMemory& operator=(SharedMemory&& other) noexcept;
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;
    ~SharedMemory() { Detach(); }

    /// Replaces the memory with `size` zeroed bytes. Waits for the server. Owns no memory after a failure.
    Result Attach(xcb_connection_t* connection, std::size_t size, ServerAccess access);
    void Detach() noexcept;

    xcb_shm_seg_t Segment() const { return segment_; }
    std::size_t Size() const { return size_; }
    /// Stays mapped until its last owner releases it, also after Detach.
    const PixelMemory& Bytes() const { return bytes_; }

private:
    xcb_connection_t* connection_ = nullptr;
    xcb_shm_seg_t segment_ = XCB_NONE;
    std::size_t size_ = 0;
    PixelMemory bytes_;
};

}  // namespace zv::x11
