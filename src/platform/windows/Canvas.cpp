// Draws into a bitmap with GDI. GDI+ draws the antialiased shapes: lines, arcs and discs.
//
// The first of these shapes starts GDI+, which ends with the process. If it cannot be started, they are left out.
#include "platform/Canvas.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "platform/windows/Gdi.h"
#include "platform/windows/Native.h"

namespace zv {

struct Font {
    HFONT handle = nullptr;
};

namespace {

struct Placement {
    double dx = 0;
    double dy = 0;
    double scale = 1;
};

}  // namespace

struct Canvas {
    HDC context = nullptr;
    HBITMAP bitmap = nullptr;
    HGDIOBJ before = nullptr;  ///< the bitmap that ours has replaced in the context
    std::uint32_t* pixels = nullptr;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::vector<Placement> placements{Placement{}};
};

namespace {

constexpr wchar_t family[] = L"Segoe UI";
constexpr std::size_t longestText = 8192;  ///< no box of the interface shows more characters

RECT Native(const Rectangle& box) { return {box.left, box.top, box.right, box.bottom}; }

float Real(double value) { return static_cast<float>(value); }

void ApplyTransform(const Canvas& canvas) {
    const Placement& now = canvas.placements.back();
    const XFORM transform{Real(now.scale), 0, 0, Real(now.scale), Real(now.dx), Real(now.dy)};
    SetWorldTransform(canvas.context, &transform);
}

/// The context's own brush, which is neither created nor freed.
HBRUSH BrushOf(const Canvas& canvas, Color color) {
    SetDCBrushColor(canvas.context, color);
    return static_cast<HBRUSH>(GetStockObject(DC_BRUSH));
}

/// The size of a box in pixels.
Point PixelsCovered(const Canvas& canvas, const Rectangle& box) {
    std::array<POINT, 2> corners = {POINT{box.left, box.top}, POINT{box.right, box.bottom}};
    LPtoDP(canvas.context, corners.data(), 2);
    return {corners[1].x - corners[0].x, corners[1].y - corners[0].y};
}

// Smooth lines and shapes.

struct DeletePen {
    void operator()(Gdiplus::GpPen* pen) const { plus::GdipDeletePen(pen); }
};
struct DeleteBrush {
    void operator()(Gdiplus::GpSolidFill* brush) const { plus::GdipDeleteBrush(brush); }
};
using SmoothPen = std::unique_ptr<Gdiplus::GpPen, DeletePen>;
using SmoothBrush = std::unique_ptr<Gdiplus::GpSolidFill, DeleteBrush>;

/// Antialiased drawing into a canvas. While it exists, only GDI+ has the transform, which would otherwise apply twice.
class SmoothDrawing {
public:
    explicit SmoothDrawing(const Canvas& canvas) : canvas_(canvas) {
        static const GdiPlus gdiPlus;
        ModifyWorldTransform(canvas.context, nullptr, MWT_IDENTITY);
        if (!gdiPlus.Started() || plus::GdipCreateFromHDC(canvas.context, &graphics_) != Gdiplus::Ok) {
            graphics_ = nullptr;
            return;
        }
        const Placement& now = canvas.placements.back();
        plus::GdipSetSmoothingMode(graphics_, Gdiplus::SmoothingModeAntiAlias);
        plus::GdipSetPixelOffsetMode(graphics_, Gdiplus::PixelOffsetModeHalf);
        plus::GdipTranslateWorldTransform(graphics_, Real(now.dx), Real(now.dy), Gdiplus::MatrixOrderPrepend);
        plus::GdipScaleWorldTransform(graphics_, Real(now.scale), Real(now.scale), Gdiplus::MatrixOrderPrepend);
    }
    ~SmoothDrawing() {
        if (graphics_ != nullptr) {
            plus::GdipDeleteGraphics(graphics_);
        }
        ApplyTransform(canvas_);
    }
    SmoothDrawing(const SmoothDrawing&) = delete;
    SmoothDrawing& operator=(const SmoothDrawing&) = delete;

    explicit operator bool() const { return graphics_ != nullptr; }
    Gdiplus::GpGraphics* Get() const { return graphics_; }

private:
    const Canvas& canvas_;
    Gdiplus::GpGraphics* graphics_ = nullptr;
};

Gdiplus::ARGB Opaque(Color color) {
    return 0xFF000000U | (color & 0xFFU) << 16U | (color & 0xFF00U) | (color >> 16U & 0xFFU);
}

SmoothPen MakeSmoothPen(const Pen& pen) {
    Gdiplus::GpPen* made = nullptr;
    if (plus::GdipCreatePen1(Opaque(pen.color), Real(pen.width), Gdiplus::UnitWorld, &made) != Gdiplus::Ok) {
        return nullptr;
    }
    plus::GdipSetPenLineCap197819(made, Gdiplus::LineCapRound, Gdiplus::LineCapRound, Gdiplus::DashCapRound);
    plus::GdipSetPenLineJoin(made, Gdiplus::LineJoinRound);
    return SmoothPen(made);
}

SmoothBrush MakeSmoothBrush(Color color) {
    Gdiplus::GpSolidFill* made = nullptr;
    return SmoothBrush(plus::GdipCreateSolidFill(Opaque(color), &made) == Gdiplus::Ok ? made : nullptr);
}

std::vector<Gdiplus::PointF> SmoothPoints(std::span<const PointF> points) {
    std::vector<Gdiplus::PointF> made;
    for (const PointF& point : points) {
        made.emplace_back(Real(point.x), Real(point.y));
    }
    return made;
}

}  // namespace

// Fonts.

template <>
void Closer<Font>::operator()(Font* font) const noexcept {
    if (font->handle != nullptr) {
        DeleteObject(font->handle);
    }
    delete font;
}

Owned<Font> MakeFont(std::int32_t height, std::int32_t weight) {
    Owned<Font> font(height <= 0 ? nullptr : new (std::nothrow) Font);
    if (!font) {
        return nullptr;
    }
    font->handle = CreateFontW(height, 0, 0, 0, weight, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                               CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY, DEFAULT_PITCH | FF_DONTCARE, family);
    return font->handle == nullptr ? nullptr : std::move(font);
}

// The canvas itself.

template <>
void Closer<Canvas>::operator()(Canvas* canvas) const noexcept {
    if (canvas->before != nullptr) {
        SelectObject(canvas->context, canvas->before);
    }
    if (canvas->bitmap != nullptr) {
        DeleteObject(canvas->bitmap);
    }
    if (canvas->context != nullptr) {
        DeleteDC(canvas->context);
    }
    delete canvas;
}

Owned<Canvas> MakeCanvas(std::int32_t width, std::int32_t height) {
    if (width <= 0 || height <= 0) {
        return nullptr;
    }
    Owned<Canvas> canvas(new Canvas);
    canvas->width = width;
    canvas->height = height;
    canvas->context = CreateCompatibleDC(nullptr);
    const BITMAPINFO info = RowsFromTheTop(width, height);
    void* pixels = nullptr;
    canvas->bitmap = CreateDIBSection(canvas->context, &info, DIB_RGB_COLORS, &pixels, nullptr, 0);
    canvas->pixels = static_cast<std::uint32_t*>(pixels);
    canvas->before = canvas->bitmap == nullptr ? nullptr : SelectObject(canvas->context, canvas->bitmap);
    if (canvas->before == nullptr || SetGraphicsMode(canvas->context, GM_ADVANCED) == 0) {
        return nullptr;
    }
    SetBkMode(canvas->context, TRANSPARENT);
    return canvas;
}

PixelView PixelsOf(Canvas& canvas) {
    GdiFlush();
    return {canvas.pixels, canvas.width, canvas.height};
}

void PushTransform(Canvas& canvas, PointF origin, double scale) {
    const Placement now = canvas.placements.back();
    canvas.placements.push_back({now.dx + now.scale * origin.x, now.dy + now.scale * origin.y, now.scale * scale});
    ApplyTransform(canvas);
}

void PopTransform(Canvas& canvas) {
    if (canvas.placements.size() > 1) {
        canvas.placements.pop_back();
        ApplyTransform(canvas);
    }
}

// Boxes.

void FillBox(Canvas& canvas, const Rectangle& box, Color color) {
    const RECT rectangle = Native(box);
    FillRect(canvas.context, &rectangle, BrushOf(canvas, color));
}

void FillRoundBox(Canvas& canvas, const Rectangle& box, std::int32_t corner, Color color) {
    const Selection brush(canvas.context, BrushOf(canvas, color));
    const Selection pen(canvas.context, GetStockObject(NULL_PEN));
    RoundRect(canvas.context, box.left, box.top, box.right, box.bottom, corner, corner);
}

void FrameBox(Canvas& canvas, const Rectangle& box, std::int32_t depth, Color color) {
    // At least one pixel, also under a transform that shrinks.
    const auto onePixel = static_cast<std::int32_t>(std::ceil(1 / canvas.placements.back().scale));
    const std::int32_t deep = std::max(depth, onePixel);
    const Rectangle inner{box.left + deep, box.top + deep, box.right - deep, box.bottom - deep};
    FillBox(canvas, {box.left, box.top, box.right, inner.top}, color);
    FillBox(canvas, {box.left, inner.bottom, box.right, box.bottom}, color);
    FillBox(canvas, {box.left, inner.top, inner.left, inner.bottom}, color);
    FillBox(canvas, {inner.right, inner.top, box.right, inner.bottom}, color);
}

/// Draws edges and corners separately, because GDI draws an outline one pixel wider in a context with a transform.
void FrameRoundBox(Canvas& canvas, const Rectangle& box, std::int32_t corner, Color color) {
    const std::int32_t r = corner / 2;
    FillBox(canvas, {box.left + r, box.top, box.right - r, box.top + 1}, color);
    FillBox(canvas, {box.left + r, box.bottom - 1, box.right - r, box.bottom}, color);
    FillBox(canvas, {box.left, box.top + r, box.left + 1, box.bottom - r}, color);
    FillBox(canvas, {box.right - 1, box.top + r, box.right, box.bottom - r}, color);
    // An arc that is not antialiased may extend one pixel outside.
    const int saved = SaveDC(canvas.context);
    IntersectClipRect(canvas.context, box.left, box.top, box.right, box.bottom);
    const auto round = [&](std::int32_t x, std::int32_t y, double start) {
        StrokeArc(canvas, {{Real(x), Real(y)}, r - 0.5, start, 90}, {color, 1});
    };
    round(box.left + r, box.top + r, 180);
    round(box.right - r, box.top + r, 270);
    round(box.right - r, box.bottom - r, 0);
    round(box.left + r, box.bottom - r, 90);
    RestoreDC(canvas.context, saved);
}

// Text.

void DrawTextInBox(Canvas& canvas, const Rectangle& box, TextView text, Color color, const Font& font,
                   TextLayout kind) {
    const Selection selected(canvas.context, font.handle);
    SetTextColor(canvas.context, color);
    const UINT place = kind == TextLayout::Wrapped ? DT_WORDBREAK : DT_SINGLELINE | DT_VCENTER;
    const UINT side = kind == TextLayout::CentredLine ? DT_CENTER : DT_LEFT;
    const Text shown(text.substr(0, longestText));
    RECT rectangle = Native(box);
    DrawTextW(canvas.context, Native(shown), static_cast<int>(shown.size()), &rectangle,
              place | side | DT_NOPREFIX | DT_END_ELLIPSIS);
}

// Smooth lines and shapes.

void StrokeLines(Canvas& canvas, std::span<const PointF> points, bool closed, Pen pen) {
    const SmoothDrawing smooth(canvas);
    const SmoothPen made = smooth ? MakeSmoothPen(pen) : nullptr;
    if (!made) {
        return;
    }
    const std::vector<Gdiplus::PointF> all = SmoothPoints(points);
    const auto draw = closed ? plus::GdipDrawPolygon : plus::GdipDrawLines;
    draw(smooth.Get(), made.get(), all.data(), static_cast<INT>(all.size()));
}

void FillPolygon(Canvas& canvas, std::span<const PointF> points, Color color) {
    const SmoothDrawing smooth(canvas);
    const SmoothBrush made = smooth ? MakeSmoothBrush(color) : nullptr;
    if (!made) {
        return;
    }
    const std::vector<Gdiplus::PointF> all = SmoothPoints(points);
    plus::GdipFillPolygon(smooth.Get(), made.get(), all.data(), static_cast<INT>(all.size()), Gdiplus::FillModeWinding);
}

void StrokeArc(Canvas& canvas, const Arc& arc, Pen pen) {
    const SmoothDrawing smooth(canvas);
    const SmoothPen made = smooth ? MakeSmoothPen(pen) : nullptr;
    if (!made) {
        return;
    }
    const float size = Real(2 * arc.radius);
    plus::GdipDrawArc(smooth.Get(), made.get(), Real(arc.centre.x - arc.radius), Real(arc.centre.y - arc.radius), size,
                      size, Real(arc.startDegrees), Real(arc.sweepDegrees));
}

void FillDisc(Canvas& canvas, PointF centre, double radius, Color color) {
    const SmoothDrawing smooth(canvas);
    const SmoothBrush made = smooth ? MakeSmoothBrush(color) : nullptr;
    if (!made) {
        return;
    }
    const float size = Real(2 * radius);
    plus::GdipFillEllipse(smooth.Get(), made.get(), Real(centre.x - radius), Real(centre.y - radius), size, size);
}

// Pictures.

void DrawPixels(Canvas& canvas, const Rectangle& box, const PixelView& picture) {
    if (picture.width <= 0 || picture.height <= 0) {
        return;
    }
    const BITMAPINFO info = RowsFromTheTop(picture.width, picture.height);
    // Averaging is expensive, also where the pixels only have to be copied.
    const bool copies = PixelsCovered(canvas, box) == Point{picture.width, picture.height};
    const int before = SetStretchBltMode(canvas.context, copies ? COLORONCOLOR : HALFTONE);
    SetBrushOrgEx(canvas.context, 0, 0, nullptr);
    StretchDIBits(canvas.context, box.left, box.top, box.right - box.left, box.bottom - box.top, 0, 0, picture.width,
                  picture.height, picture.pixels, &info, DIB_RGB_COLORS, SRCCOPY);
    SetStretchBltMode(canvas.context, before);
}

}  // namespace zv
