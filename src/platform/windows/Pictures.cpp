// Thumbnails of the shell's image service, and whole images that GDI+ decodes.
#include "platform/Pictures.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <new>
#include <utility>

#include "platform/Files.h"
#include "platform/software/PngFile.h"
#include "platform/windows/Gdi.h"
#include "platform/windows/Native.h"

namespace zv {
namespace {

/// A single-threaded apartment of COM for this thread. Calls without one are tried anyway.
class Apartment {
public:
    Apartment() : entered_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {}
    ~Apartment() {
        if (entered_) {
            CoUninitialize();
        }
    }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;

private:
    bool entered_;
};

PixelBitmap MakeBitmap(std::int32_t width, std::int32_t height) {
    PixelBitmap bitmap;
    bitmap.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    bitmap.width = width;
    bitmap.height = height;
    return bitmap;
}

/// The pixels of a bitmap of any depth and direction. Those of the shell are multiplied by their opacity, which shows
/// them over black.
PixelBitmap PixelsOf(HBITMAP bitmap) {
    BITMAP record{};
    if (bitmap == nullptr || GetObjectW(bitmap, sizeof(record), &record) == 0 || record.bmWidth <= 0 ||
        record.bmHeight <= 0) {
        return {};
    }
    PixelBitmap made = MakeBitmap(record.bmWidth, record.bmHeight);
    BITMAPINFO info = RowsFromTheTop(made.width, made.height);
    const MemoryContext context(CreateCompatibleDC(nullptr));
    const int rows =
        GetDIBits(context.get(), bitmap, 0, static_cast<UINT>(made.height), made.pixels.data(), &info, DIB_RGB_COLORS);
    return rows == made.height ? std::move(made) : PixelBitmap{};
}

/// Returns null if the shell has no thumbnail of the file.
BitmapHandle ThumbnailOf(const Text& path, SIZE size) {
    const std::filesystem::path name = ToPath(path).make_preferred();  // the shell does not accept slashes
    Com<IShellItemImageFactory> factory;
    HBITMAP made = nullptr;
    const bool found = SUCCEEDED(SHCreateItemFromParsingName(name.c_str(), nullptr, __uuidof(IShellItemImageFactory),
                                                             factory.OutVoid())) &&
                       SUCCEEDED(factory->GetImage(size, SIIGBF_BIGGERSIZEOK | SIIGBF_THUMBNAILONLY, &made));
    return BitmapHandle(found ? made : nullptr);
}

struct ImageSize {
    UINT width = 0;
    UINT height = 0;
};

/// Without pixels if the image has no size.
ImageSize SizeOf(Gdiplus::GpBitmap& image) {
    ImageSize size;
    const bool known = plus::GdipGetImageWidth(&image, &size.width) == Gdiplus::Ok &&
                       plus::GdipGetImageHeight(&image, &size.height) == Gdiplus::Ok;
    return known ? size : ImageSize{};
}

/// The value of the tag Orientation of EXIF 2.3, section 4.6.4: 1 if the image has none.
unsigned OrientationOf(Gdiplus::GpBitmap& image) {
    constexpr PROPID tag = 0x0112;
    UINT bytes = 0;
    if (plus::GdipGetPropertyItemSize(&image, tag, &bytes) != Gdiplus::Ok) {
        return 1;
    }
    std::vector<std::max_align_t> storage(bytes / sizeof(std::max_align_t) + 1);
    auto* item = reinterpret_cast<Gdiplus::PropertyItem*>(storage.data());
    const bool valid = plus::GdipGetPropertyItem(&image, tag, bytes, item) == Gdiplus::Ok &&
                       item->type == PropertyTagTypeShort && item->length >= sizeof(USHORT);
    return valid ? *static_cast<const USHORT*>(item->value) : 1;
}

struct Turn {
    Gdiplus::RotateFlipType rotation;  ///< clockwise
    bool mirrors;                      ///< exchanges left and right afterwards
};

/// Turns a photograph upright.
void ApplyOrientation(Gdiplus::GpBitmap& image) {
    using enum Gdiplus::RotateFlipType;
    static constexpr std::array<Turn, 9> turns = {{{RotateNoneFlipNone, false},
                                                   {RotateNoneFlipNone, false},
                                                   {RotateNoneFlipNone, true},
                                                   {Rotate180FlipNone, false},
                                                   {Rotate180FlipNone, true},
                                                   {Rotate90FlipNone, true},
                                                   {Rotate90FlipNone, false},
                                                   {Rotate270FlipNone, true},
                                                   {Rotate270FlipNone, false}}};
    const unsigned orientation = OrientationOf(image);
    if (orientation <= 1 || orientation >= turns.size()) {
        return;
    }
    plus::GdipImageRotateFlip(&image, turns[orientation].rotation);
    if (turns[orientation].mirrors) {
        plus::GdipImageRotateFlip(&image, RotateNoneFlipX);
    }
}

/// Decodes the image into memory of ours, with colours that are multiplied by their opacity.
PixelBitmap Decode(Gdiplus::GpBitmap& image) {
    const ImageSize size = SizeOf(image);
    const auto width = static_cast<INT>(size.width);
    const auto height = static_cast<INT>(size.height);
    PixelBitmap made = MakeBitmap(width, height);
    const Gdiplus::Rect whole(0, 0, width, height);
    Gdiplus::BitmapData data{};
    data.Width = size.width;
    data.Height = size.height;
    data.Stride = width * static_cast<INT>(sizeof(std::uint32_t));
    data.PixelFormat = PixelFormat32bppPARGB;
    data.Scan0 = made.pixels.data();
    const bool decoded =
        plus::GdipBitmapLockBits(&image, &whole, Gdiplus::ImageLockModeRead | Gdiplus::ImageLockModeUserInputBuf,
                                 PixelFormat32bppPARGB, &data) == Gdiplus::Ok &&
        plus::GdipBitmapUnlockBits(&image, &data) == Gdiplus::Ok;
    return decoded ? std::move(made) : PixelBitmap{};
}

PixelBitmap ReadPicture(const Text& path, std::int64_t maxPixels) {
    Gdiplus::GpBitmap* opened = nullptr;
    if (plus::GdipCreateBitmapFromFile(Native(path), &opened) != Gdiplus::Ok) {
        return {};
    }
    const Image image(opened);
    const ImageSize size = SizeOf(*image);
    const std::uint64_t pixels = std::uint64_t{size.width} * size.height;
    if (pixels == 0 || pixels > static_cast<std::uint64_t>(maxPixels)) {
        return {};
    }
    ApplyOrientation(*image);
    return Decode(*image);
}

}  // namespace

void MakeThumbnails(const std::vector<Text>& paths, std::int32_t width, std::int32_t height,
                    std::vector<PixelBitmap>& made, const std::stop_token& stop) {
    const Apartment apartment;
    for (const Text& path : paths) {
        if (stop.stop_requested()) {
            return;
        }
        made.push_back(PixelsOf(ThumbnailOf(path, {width, height}).get()));
    }
}

PixelBitmap LoadPicture(const Text& path, std::int64_t maxPixels, const std::stop_token& stop) {
    const GdiPlus session;
    if (!session.Started() || IsDamagedPng(path) || stop.stop_requested()) {
        return {};
    }
    try {
        return ReadPicture(path, maxPixels);
    } catch (const std::bad_alloc&) {
        return {};
    }
}

}  // namespace zv
