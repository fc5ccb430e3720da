// Pictures in main memory and what passes between duplication, scaler and encoder along with them.
//
// The duplication's image and the capture surface share one storage when their sizes agree: what the server writes
// lands in the surface, and CopyImage only hands over what changed. So the surface shows a new image from AcquireImage
// on, which nobody can see as long as each acquired image is copied before anything else is done with the surface.
// Whoever writes into a surface adds to its damage; its one reader (scaler or encoder) takes it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/DesktopCapture.h"
#include "platform/linux/posix/Posix.h"
#include "platform/software/Damage.h"

namespace zv {

/// A mapping of its own, zeroed, that another process can map by its descriptor.
struct PixelStore {
    PixelStore() = default;
    ~PixelStore();
    PixelStore(const PixelStore&) = delete;
    PixelStore& operator=(const PixelStore&) = delete;

    std::uint8_t* bytes = nullptr;
    std::size_t size = 0;
    Descriptor descriptor;
};

/// Null, with errno in place, when the system has no memory to give.
std::shared_ptr<PixelStore> MakePixelStore(std::size_t size);

/// BGRA pixels, 4 bytes each, of a desktop.
struct DesktopPixels {
    std::shared_ptr<PixelStore> store;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::size_t Stride() const { return std::size_t{width} * 4; }
};

struct GraphicsDevice {
    DesktopPixels desktop;  ///< storage of the duplication that was opened on this device
};

struct DesktopImage {
    DesktopPixels pixels;
    Damage changed;        ///< since the image before
    bool readable = true;  ///< false: cannot be copied
};

enum class SurfaceFormat { Bgra, Nv12 };

struct Surface {
    SurfaceFormat format = SurfaceFormat::Bgra;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::size_t stride = 0;          ///< bytes a row, of both planes
    std::uint8_t* pixels = nullptr;  ///< BGRA, or luma
    std::uint8_t* chroma = nullptr;  ///< NV12 only: Cb and Cr in turns, half as many rows
    std::shared_ptr<PixelStore> store;
    Damage changed;  ///< since the reader looked last
};

}  // namespace zv
