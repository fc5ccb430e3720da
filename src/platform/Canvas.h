// Pictures that the interface draws into, before a window shows them: filled and framed boxes, text, lines, arcs and
// other pictures, all under one transform.
//
// Drawing reports no failure: what a system cannot draw stays unpainted. A canvas and the fonts it draws with are used
// by one thread at a time; other threads may use canvases of their own.
#pragma once

#include <cstdint>
#include <span>

#include "core/Text.h"
#include "platform/Owned.h"
#include "platform/Rectangle.h"

namespace zv {

/// 0x00BBGGRR.
using Color = std::uint32_t;

constexpr Color Rgb(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return red | green << 8U | blue << 16U;
}

struct PointF {
    double x = 0;
    double y = 0;
};

/// Rows from the top without padding, 0xXXRRGGBB each; the highest byte is ignored. Not owned.
struct PixelView {
    const std::uint32_t* pixels = nullptr;
    std::int32_t width = 0;
    std::int32_t height = 0;
};

// Fonts.

/// One size and weight of the interface's typeface. Made for any canvas.
struct Font;
template <>
void Closer<Font>::operator()(Font* font) const noexcept;

/// `height` is that of a line, from the highest ascender to the lowest descender, in units of the canvas; `weight` is
/// 400 for regular, 600 for semibold, 700 for bold. Null on failure.
Owned<Font> MakeFont(std::int32_t height, std::int32_t weight);

// The canvas itself.

struct Canvas;
template <>
void Closer<Canvas>::operator()(Canvas* canvas) const noexcept;

/// Black. Null if there is no memory for it or a side is not above 0.
Owned<Canvas> MakeCanvas(std::int32_t width, std::int32_t height);

/// What has been drawn so far. Valid until the next drawing call or the canvas's end.
PixelView PixelsOf(Canvas& canvas);

/// Draws a point (x, y) at (origin.x + scale * x, origin.y + scale * y) of the transform before, until the matching
/// PopTransform. Lengths, pens and letters are scaled too.
void PushTransform(Canvas& canvas, PointF origin, double scale);
void PopTransform(Canvas& canvas);

// Boxes. Their edges land on whole pixels.

void FillBox(Canvas& canvas, const Rectangle& box, Color color);

/// `corner` is the width and the height of the ellipse that rounds a corner: twice its radius.
void FillRoundBox(Canvas& canvas, const Rectangle& box, std::int32_t corner, Color color);

/// The outermost `depth` units of the box.
void FrameBox(Canvas& canvas, const Rectangle& box, std::int32_t depth, Color color);

/// A line of one unit along the inside of a rounded box.
void FrameRoundBox(Canvas& canvas, const Rectangle& box, std::int32_t corner, Color color);

// Text.

enum class TextLayout {
    Line,         ///< one line, from the left, in the middle of the height
    CentredLine,  ///< one line in the middle of the box
    Wrapped       ///< from the top left, broken between words
};

/// Paints nothing outside the box. A line that is too long, and the last line that fits if there are too many, end in
/// an ellipsis. If the interface's typeface is replaced by a wider one, its letters may first be narrowed by as much as
/// they are wider. "&" is an ordinary letter.
void DrawTextInBox(Canvas& canvas, const Rectangle& box, TextView text, Color color, const Font& font,
                   TextLayout layout);

// Smooth lines and shapes. Ends and joins are round.

struct Pen {
    Color color = 0;
    double width = 1;
};

/// Joins the points in their order, and the last one with the first when `closed`.
void StrokeLines(Canvas& canvas, std::span<const PointF> points, bool closed, Pen pen);
void FillPolygon(Canvas& canvas, std::span<const PointF> points, Color color);

/// Part of a circle's line. 0 degrees is to the right, and degrees grow clockwise; 360 are the whole circle.
struct Arc {
    PointF centre;
    double radius = 0;
    double startDegrees = 0;
    double sweepDegrees = 360;
};
void StrokeArc(Canvas& canvas, const Arc& arc, Pen pen);
void FillDisc(Canvas& canvas, PointF centre, double radius, Color color);

// Pictures.

/// Stretches the whole picture over the box, averaging where it gets smaller.
void DrawPixels(Canvas& canvas, const Rectangle& box, const PixelView& picture);

}  // namespace zv
