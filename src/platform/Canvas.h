// The memory that the interface is drawn into before a window shows it: filled and framed boxes, text, lines, arcs and
// other pictures, all under one transform.
//
// Drawing functions report no failure: a shape that the system cannot draw is left out. A canvas and its fonts are used
// by one thread at a time. Different threads may use different canvases.
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

/// One size and weight of the interface's typeface. May be used with any canvas.
struct Font;
template <>
void Closer<Font>::operator()(Font* font) const noexcept;

/// `height` is the height of a line, from the highest ascender to the lowest descender, in units of the canvas.
/// `weight` is 400 for regular, 600 for semibold, 700 for bold. Returns null on failure.
Owned<Font> MakeFont(std::int32_t height, std::int32_t weight);

// The canvas itself.

struct Canvas;
template <>
void Closer<Canvas>::operator()(Canvas* canvas) const noexcept;

/// Makes a black canvas. Returns null if there is not enough memory or a side is 0 or less.
Owned<Canvas> MakeCanvas(std::int32_t width, std::int32_t height);

/// Returns what has been drawn so far. Valid until the next drawing call or until the canvas is destroyed.
PixelView PixelsOf(Canvas& canvas);

/// Until the matching PopTransform, draws a point (x, y) at (origin.x + scale * x, origin.y + scale * y) of the
/// previous transform. Lengths, pens and letters are scaled too.
void PushTransform(Canvas& canvas, PointF origin, double scale);
void PopTransform(Canvas& canvas);

// Boxes. Their edges lie on whole pixels.

void FillBox(Canvas& canvas, const Rectangle& box, Color color);

/// `corner` is the width and the height of the ellipse that rounds a corner: twice its radius.
void FillRoundBox(Canvas& canvas, const Rectangle& box, std::int32_t corner, Color color);

/// Fills the outermost `depth` units of the box.
void FrameBox(Canvas& canvas, const Rectangle& box, std::int32_t depth, Color color);

/// Draws a line of one unit along the inside of a rounded box.
void FrameRoundBox(Canvas& canvas, const Rectangle& box, std::int32_t corner, Color color);

// Text.

enum class TextLayout {
    Line,         ///< one line, left-aligned and vertically centred
    CentredLine,  ///< one line, centred in both directions
    Wrapped       ///< from the top left, with line breaks between words
};

/// Paints nothing outside the box. Text that does not fit ends in an ellipsis: at the end of the line, or of the last
/// line that fits. If a wider typeface replaces the interface's own, its letters may be narrowed to the width of the
/// original first. "&" is an ordinary letter.
void DrawTextInBox(Canvas& canvas, const Rectangle& box, TextView text, Color color, const Font& font,
                   TextLayout layout);

// Smooth lines and shapes. Ends and joins are round.

struct Pen {
    Color color = 0;
    double width = 1;
};

/// Connects the points in their order, and the last one to the first if `closed`.
void StrokeLines(Canvas& canvas, std::span<const PointF> points, bool closed, Pen pen);
void FillPolygon(Canvas& canvas, std::span<const PointF> points, Color color);

/// A part of a circle's outline. 0 degrees points to the right, and angles increase clockwise; 360 degrees are the
/// whole circle.
struct Arc {
    PointF centre;
    double radius = 0;
    double startDegrees = 0;
    double sweepDegrees = 360;
};
void StrokeArc(Canvas& canvas, const Arc& arc, Pen pen);
void FillDisc(Canvas& canvas, PointF centre, double radius, Color color);

// Pictures.

/// Scales the whole picture to the box, with averaging if the box is smaller.
void DrawPixels(Canvas& canvas, const Rectangle& box, const PixelView& picture);

}  // namespace zv
