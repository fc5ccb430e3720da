// Icons of the system, from the program's resources or from pixels.
#include "platform/AppIcon.h"

#include <algorithm>
#include <cstddef>
#include <new>

#include "platform/windows/WindowHandle.h"

namespace zv {
namespace {

constexpr int programIcon = 101;

Owned<AppIcon> Own(HICON handle) {
    return Owned<AppIcon>(handle != nullptr ? new (std::nothrow) AppIcon{handle} : nullptr);
}

/// Makes a 32-bit bitmap in which all pixels are opaque.
HBITMAP MakeOpaqueBitmap(int size, const std::uint32_t* pixels) {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = size;
    info.bmiHeader.biHeight = -size;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    const HBITMAP bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (bitmap != nullptr) {
        const std::size_t count = static_cast<std::size_t>(size) * static_cast<std::size_t>(size);
        std::transform(pixels, pixels + count, static_cast<std::uint32_t*>(bits),
                       [](std::uint32_t pixel) { return pixel | 0xFF000000U; });
    }
    return bitmap;
}

}  // namespace

template <>
void Closer<AppIcon>::operator()(AppIcon* icon) const noexcept {
    if (icon != nullptr) {
        DestroyIcon(icon->handle);
    }
    delete icon;
}

Owned<AppIcon> LoadProgramIcon(int size) {
    return Own(static_cast<HICON>(
        LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(programIcon), IMAGE_ICON, size, size, LR_DEFAULTCOLOR)));
}

Owned<AppIcon> MakeIcon(int size, const std::uint32_t* pixels) {
    ICONINFO icon{};
    icon.fIcon = TRUE;
    icon.hbmColor = MakeOpaqueBitmap(size, pixels);
    icon.hbmMask = CreateBitmap(size, size, 1, 1, nullptr);
    const bool complete = icon.hbmColor != nullptr && icon.hbmMask != nullptr;
    Owned<AppIcon> made = complete ? Own(CreateIconIndirect(&icon)) : nullptr;
    // The icon has copied both bitmaps.
    DeleteObject(icon.hbmColor);
    DeleteObject(icon.hbmMask);
    return made;
}

}  // namespace zv
