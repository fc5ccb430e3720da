// Copies the screen with GDI, including layered windows, and writes the PNG file with GDI+.
#include "platform/ScreenGrab.h"

#include <cstddef>
#include <memory>
#include <vector>

#include "platform/windows/Gdi.h"
#include "platform/windows/Native.h"

namespace zv {
namespace {

struct ReleaseScreen {
    using pointer = HDC;
    void operator()(HDC screen) const { ReleaseDC(nullptr, screen); }
};
using ScreenContext = std::unique_ptr<HDC, ReleaseScreen>;

Result ResultOfStatus(Gdiplus::Status status) {
    if (status == Gdiplus::Ok) {
        return resultOk;
    }
    return status == Gdiplus::Win32Error ? LastError() : resultGenericFailure;
}

Result CopyScreen(const Rectangle& area, BitmapHandle& bitmap) {
    const ScreenContext screen(GetDC(nullptr));
    const MemoryContext memory(screen ? CreateCompatibleDC(screen.get()) : nullptr);
    bitmap.reset(memory ? CreateCompatibleBitmap(screen.get(), area.Width(), area.Height()) : nullptr);
    if (!bitmap) {
        return LastError();
    }
    // Only during the copy, because GDI+ does not accept a bitmap that is selected into a context.
    const Selection selected(memory.get(), bitmap.get());
    const bool copied = selected.Made() && BitBlt(memory.get(), 0, 0, area.Width(), area.Height(), screen.get(),
                                                  area.left, area.top, SRCCOPY | CAPTUREBLT);
    return copied ? resultOk : LastError();
}

/// Finds the PNG encoder among the installed ones.
bool FindPngEncoder(CLSID& encoder) {
    UINT count = 0;
    UINT bytes = 0;
    if (plus::GdipGetImageEncodersSize(&count, &bytes) != Gdiplus::Ok || bytes == 0) {
        return false;
    }
    // The buffer also holds the texts that the records point to.
    std::vector<std::max_align_t> storage(bytes / sizeof(std::max_align_t) + 1);
    auto* codecs = reinterpret_cast<Gdiplus::ImageCodecInfo*>(storage.data());
    if (plus::GdipGetImageEncoders(count, bytes, codecs) != Gdiplus::Ok) {
        return false;
    }
    for (UINT index = 0; index < count; ++index) {
        if (TextOf(codecs[index].MimeType) == u"image/png") {
            encoder = codecs[index].Clsid;
            return true;
        }
    }
    return false;
}

Result SaveBitmap(HBITMAP bitmap, const Text& path) {
    Gdiplus::GpBitmap* made = nullptr;
    const Result result = ResultOfStatus(plus::GdipCreateBitmapFromHBITMAP(bitmap, nullptr, &made));
    const Image image(made);
    CLSID encoder{};
    if (Failed(result) || !FindPngEncoder(encoder)) {
        return Failed(result) ? result : resultGenericFailure;
    }
    return ResultOfStatus(plus::GdipSaveImageToFile(image.get(), Native(path), &encoder, nullptr));
}

}  // namespace

Result SaveScreenAsPng(const Rectangle& area, TextView path) {
    if (area.IsEmpty()) {
        return ResultOfSystemError(ERROR_INVALID_PARAMETER);
    }
    const GdiPlus session;
    if (!session.Started()) {
        return resultGenericFailure;
    }
    BitmapHandle bitmap;
    const Result copied = CopyScreen(area, bitmap);
    return Failed(copied) ? copied : SaveBitmap(bitmap.get(), Text(path));
}

}  // namespace zv
