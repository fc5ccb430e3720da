// Making surfaces and copying the desktop's image into one.
#include "platform/software/Surface.h"

#include <errno.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <new>

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
        std::memcpy(to.pixels + row * to.stride + left, from.store->bytes + row * from.Stride() + left, bytes);
    }
}

}  // namespace

PixelStore::~PixelStore() {
    if (bytes != nullptr) {
        munmap(bytes, size);
    }
}

std::shared_ptr<PixelStore> MakePixelStore(std::size_t size) {
    auto store = std::make_shared<PixelStore>();
    store->descriptor = Descriptor(memfd_create("zorvel-pixels", MFD_CLOEXEC));
    if (!store->descriptor.Held() || ftruncate(store->descriptor.Get(), static_cast<off_t>(size)) != 0) {
        return nullptr;
    }
    void* place = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, store->descriptor.Get(), 0);
    if (place == MAP_FAILED) {
        return nullptr;
    }
    store->bytes = static_cast<std::uint8_t*>(place);
    store->size = size;
    return store;
}

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
    const bool shared = device.desktop.width == width && device.desktop.height == height;
    made->store = shared ? device.desktop.store : MakePixelStore(made->stride * height);
    if (made->store == nullptr) {
        return LastError();
    }
    made->pixels = made->store->bytes;
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
    made->store = MakePixelStore(made->stride * height * 3 / 2);
    if (made->store == nullptr) {
        return LastError();
    }
    made->pixels = made->store->bytes;
    made->chroma = made->pixels + made->stride * height;
    made->changed.Add(WholeOf(*made));
    surface = std::move(made);
    return resultOk;
}

Result CopyImage(GraphicsDevice&, DesktopImage& image, Surface& surface) {
    if (!image.readable) {
        return ResultOf(0x80004002U);  // E_NOINTERFACE
    }
    if (surface.format != SurfaceFormat::Bgra || surface.width != image.pixels.width ||
        surface.height != image.pixels.height) {
        return ResultOfSystemError(EINVAL);
    }
    if (surface.store != image.pixels.store) {
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
