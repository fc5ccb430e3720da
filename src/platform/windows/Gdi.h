// The GDI and GDI+ owners that drawing, screenshots and pictures share.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/windows/Sdk.h"

namespace zv {

namespace plus = Gdiplus::DllExports;

/// GDI+ can be used while an object of this class exists. Several may exist, on any threads.
class GdiPlus {
public:
    GdiPlus() {
        const Gdiplus::GdiplusStartupInput input;
        started_ = Gdiplus::GdiplusStartup(&token_, &input, nullptr) == Gdiplus::Ok;
    }
    ~GdiPlus() {
        if (started_) {
            Gdiplus::GdiplusShutdown(token_);
        }
    }
    GdiPlus(const GdiPlus&) = delete;
    GdiPlus& operator=(const GdiPlus&) = delete;

    bool Started() const { return started_; }

private:
    ULONG_PTR token_ = 0;
    bool started_ = false;
};

/// Selects an object into a context until the end of the scope.
class Selection {
public:
    Selection(HDC context, HGDIOBJ object) : context_(context), before_(SelectObject(context, object)) {}
    ~Selection() {
        if (before_ != nullptr) {
            SelectObject(context_, before_);
        }
    }
    Selection(const Selection&) = delete;
    Selection& operator=(const Selection&) = delete;

    bool Made() const { return before_ != nullptr; }

private:
    HDC context_;
    HGDIOBJ before_;
};

struct DeleteContext {
    using pointer = HDC;
    void operator()(HDC context) const { DeleteDC(context); }
};
using MemoryContext = std::unique_ptr<HDC, DeleteContext>;

struct DeleteBitmap {
    using pointer = HBITMAP;
    void operator()(HBITMAP bitmap) const { DeleteObject(bitmap); }
};
using BitmapHandle = std::unique_ptr<HBITMAP, DeleteBitmap>;

struct DisposeImage {
    void operator()(Gdiplus::GpBitmap* image) const { plus::GdipDisposeImage(image); }
};
using Image = std::unique_ptr<Gdiplus::GpBitmap, DisposeImage>;

/// The layout of pixels of 0xXXRRGGBB in rows from the top.
inline BITMAPINFO RowsFromTheTop(std::int32_t width, std::int32_t height) {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    return info;
}

}  // namespace zv
