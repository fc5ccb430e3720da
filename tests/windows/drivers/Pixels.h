// Private interfaces between the doubles: a texture's content, a device's adapter.
#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

namespace zv::drivers {

struct Area {
    std::uint32_t left = 0;
    std::uint32_t top = 0;
    std::uint32_t right = 0;
    std::uint32_t bottom = 0;
    bool Empty() const { return left >= right || top >= bottom; }
};

struct Pixels {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t format = 0;         ///< DXGI_FORMAT: 87 is BGRA, 103 is NV12
    std::vector<std::uint32_t> bgra;  ///< of a BGRA texture
    std::vector<std::uint8_t> nv12;   ///< of an NV12 texture: luma rows, then rows of chroma pairs
    Area changed;                     ///< since the last run of the scaler
    bool readable = true;             ///< false: a released desktop image
    bool mapped = false;              ///< the encoder reads it, so that no call may write to it
    bool flushed = true;              ///< no queued call writes to it
};

/// The first field of all private interfaces.
inline constexpr unsigned long privateIds = 0x6C1D9E50;

inline constexpr IID pixelsId = {privateIds, 0x3F52, 0x4A66, {0x9A, 0x39, 0x0D, 0x7B, 0x5C, 0x1F, 0x0A, 0x01}};
struct PixelsTable {
    void* unknown[3];
    Pixels*(STDMETHODCALLTYPE* content)(void* self);
    void*(STDMETHODCALLTYPE* device)(void* self);  ///< not counted
};

inline constexpr IID maintenanceId = {privateIds, 0x3F52, 0x4A66, {0x9A, 0x39, 0x0D, 0x7B, 0x5C, 0x1F, 0x0A, 0x02}};
struct MaintenanceTable {
    void* unknown[3];
    void*(STDMETHODCALLTYPE* adapter)(void* self);  ///< as passed to the device's creation, not counted
    /// Creates an IDXGIResource of that size for the caller to paint. The caller owns the reference.
    void*(STDMETHODCALLTYPE* makeDesktopImage)(void* self, std::uint32_t width, std::uint32_t height);
};

template <class Table>
const Table& TableOf(void* pointer) {
    return **static_cast<const Table**>(pointer);
}

/// Returns the interface `id` of an object of another double, with a new reference, or null if it has none.
inline void* QueryFor(void* unknown, const IID& id) {
    struct UnknownTable {
        HRESULT(STDMETHODCALLTYPE* query)(void*, const IID&, void**);
        ULONG(STDMETHODCALLTYPE* addReference)(void*);
        ULONG(STDMETHODCALLTYPE* release)(void*);
    };
    void* found = nullptr;
    return unknown != nullptr && SUCCEEDED(TableOf<UnknownTable>(unknown).query(unknown, id, &found)) ? found : nullptr;
}
inline ULONG ReleaseObject(void* unknown) {
    using Release = ULONG(STDMETHODCALLTYPE*)(void*);
    return (*static_cast<Release**>(unknown))[2](unknown);
}

}  // namespace zv::drivers
