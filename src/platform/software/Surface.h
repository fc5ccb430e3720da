// Pictures in main memory, with the damage that duplication, scaler and encoder report to one another.
//
// The duplication's image and the capture surface share one memory if their sizes are equal: AcquireImage writes the
// pixels of both, and UpdateSurface adds only the damage. After an image is acquired, UpdateSurface is called before
// the surface is read. A writer adds to a surface's damage. The only reader, scaler or encoder, clears it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/DesktopCapture.h"
#include "platform/software/Damage.h"
#include "platform/software/PixelMemory.h"

namespace zv {

/// BGRA pixels, 4 bytes each, of a desktop.
struct DesktopPixels {
    PixelMemory memory;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::size_t Stride() const { return std::size_t{width} * 4; }
};

struct GraphicsDevice {
    DesktopPixels duplicated;  ///< written by the duplication that was opened on this device
};

struct DesktopImage {
    DesktopPixels pixels;
    Damage changed;        ///< since the previous image
    bool readable = true;  ///< false: copying fails
};

enum class SurfaceFormat { Bgra, Nv12 };

struct Surface {
    SurfaceFormat format = SurfaceFormat::Bgra;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::size_t stride = 0;          ///< bytes a row, of both planes
    std::uint8_t* pixels = nullptr;  ///< BGRA, or luma
    std::uint8_t* chroma = nullptr;  ///< NV12 only: Cb and Cr interleaved, half as many rows
    PixelMemory memory;              ///< that of the duplication, if the surface shares it
    Damage changed;                  ///< since the reader last cleared it
};

}  // namespace zv
