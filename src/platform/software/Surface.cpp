// Makes surfaces and copies the desktop's image into one.
#include "platform/software/Surface.h"

#include <cerrno>
#include <cstring>

namespace zv {
namespace {

constexpr std::uint32_t largestSide = 16384;
constexpr std::size_t rowAlignment = 64;

Rectangle WholeOf(const Surface& surface) {
    return {0, 0, static_cast<std::int32_t>(surface.width), static_cast<std::int32_t>(surface.height)};
}

bool GoodSize(std::uint32_t width, std::uint32_t height) {
    return width > 0 && height > 0 && width <= largestSide && height <= largestSide;
}

void CopyRows(const DesktopPixels& from, Surface& to, const Rectangle& part) {
    const auto left = static_cast<std::size_t>(part.left) * 4;
    const auto bytes = static_cast<std::size_t>(part.right - part.left) * 4;
    for (auto row = static_cast<std::size_t>(part.top); row < static_cast<std::size_t>(part.bottom); ++row) {
        std::memcpy(to.pixels + row * to.stride + left, from.memory.get() + row * from.Stride() + left, bytes);
    }
}

}  // namespace

template <>
void Closer<GraphicsDevice>::operator()(GraphicsDevice* device) const noexcept {
    delete device;
}

template <>
void Closer<Surface>::operator()(Surface* surface) const noexcept {
    delete surface;
}

Result MakeCaptureSurface(GraphicsDevice& device, std::uint32_t width, std::uint32_t height, Owned<Surface>& surface) {
    if (!GoodSize(width, height)) {
        return ResultOfSystemError(EINVAL);
    }
    Owned<Surface> made(new Surface);
    made->format = SurfaceFormat::Bgra;
    made->width = width;
    made->height = height;
    made->stride = std::size_t{width} * 4;
    const bool shared = device.duplicated.width == width && device.duplicated.height == height;
    made->memory = shared ? device.duplicated.memory : AllocatePixels(made->stride * height);
    if (made->memory == nullptr) {
        return ResultOfSystemError(ENOMEM);
    }
    made->pixels = made->memory.get();
    made->changed.Add(WholeOf(*made));
    surface = std::move(made);
    return resultOk;
}

Result MakeNv12Surface(GraphicsDevice&, std::uint32_t width, std::uint32_t height, Owned<Surface>& surface) {
    if (!GoodSize(width, height) || width % 2 != 0 || height % 2 != 0) {
        return ResultOfSystemError(EINVAL);
    }
    Owned<Surface> made(new Surface);
    made->format = SurfaceFormat::Nv12;
    made->width = width;
    made->height = height;
    made->stride = (std::size_t{width} + rowAlignment - 1) / rowAlignment * rowAlignment;
    made->memory = AllocatePixels(made->stride * height * 3 / 2);
    if (made->memory == nullptr) {
        return ResultOfSystemError(ENOMEM);
    }
    made->pixels = made->memory.get();
    made->chroma = made->pixels + made->stride * height;
    made->changed.Add(WholeOf(*made));
    surface = std::move(made);
    return resultOk;
}

Result UpdateSurface(GraphicsDevice&, DesktopImage& image, Surface& surface) {
    if (!image.readable) {
        return ResultOf(0x80004002U);  // E_NOINTERFACE
    }
    if (surface.format != SurfaceFormat::Bgra || surface.width != image.pixels.width ||
        surface.height != image.pixels.height) {
        return ResultOfSystemError(EINVAL);
    }
    if (surface.memory != image.pixels.memory) {
        for (const Rectangle& part : image.changed.Rectangles()) {
            CopyRows(image.pixels, surface, part);
        }
    }
    surface.changed.Add(image.changed);
    return resultOk;
}

void FlushGraphics(GraphicsDevice&) {}

void* NativeDevice(GraphicsDevice& device) { return &device; }

void* NativeTexture(Surface& surface) { return &surface; }

}  // namespace zv
