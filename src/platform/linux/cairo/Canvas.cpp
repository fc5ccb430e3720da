// Draws into memory with cairo, and text with pango.
//
// The transform is applied here and cairo draws in pixels of the picture, so that boxes and baselines lie on whole
// pixels and text is laid out for its final size.
#include "platform/Canvas.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include "core/Utf8.h"
#include "platform/linux/cairo/LineWidth.h"

namespace zv {

struct Font {
    PangoFontDescription* description = nullptr;
    double size = 0;  ///< of the em, in units of the canvas
};

namespace {

// The typeface of the design if it is installed, else the most similar one that distributions ship.
constexpr char family[] = "Segoe UI, Open Sans, Noto Sans, DejaVu Sans, sans-serif";
constexpr std::size_t longestText = 8192;  ///< no box of the interface shows more characters
constexpr double leastNarrowing = 0.92;    ///< the substitute of the design's typeface is up to 8 % wider

struct Placement {
    double dx = 0;
    double dy = 0;
    double scale = 1;

    double X(double x) const { return dx + scale * x; }
    double Y(double y) const { return dy + scale * y; }
};

template <class T>
struct Unreference {
    void operator()(T* object) const { g_object_unref(object); }
};
template <class T>
using Object = std::unique_ptr<T, Unreference<T>>;

}  // namespace

struct Canvas {
    cairo_surface_t* surface = nullptr;
    cairo_t* context = nullptr;
    PangoLayout* layout = nullptr;
    std::vector<Placement> placements{Placement{}};

    const Placement& Now() const { return placements.back(); }
};

namespace {

/// A box in whole pixels.
struct PixelBox {
    double left = 0;
    double top = 0;
    double right = 0;
    double bottom = 0;

    double Width() const { return right - left; }
    double Height() const { return bottom - top; }
    bool Empty() const { return right <= left || bottom <= top; }
    PixelBox Inset(double depth) const { return {left + depth, top + depth, right - depth, bottom - depth}; }
};

PixelBox ToPixels(const Canvas& canvas, const Rectangle& box) {
    const Placement& now = canvas.Now();
    return {std::round(now.X(box.left)), std::round(now.Y(box.top)), std::round(now.X(box.right)),
            std::round(now.Y(box.bottom))};
}

void SetColor(const Canvas& canvas, Color color) {
    const auto level = [&](unsigned shift) { return static_cast<double>(color >> shift & 0xFFU) / 255; };
    cairo_set_source_rgb(canvas.context, level(0), level(8), level(16));
}

void AddBox(const Canvas& canvas, const PixelBox& box) {
    if (!box.Empty()) {
        cairo_rectangle(canvas.context, box.left, box.top, box.Width(), box.Height());
    }
}

void AddRoundBox(const Canvas& canvas, const PixelBox& box, double radius) {
    if (box.Empty()) {
        return;
    }
    constexpr double quarter = std::numbers::pi / 2;
    const double r = std::min({radius, box.Width() / 2, box.Height() / 2});
    cairo_new_sub_path(canvas.context);
    cairo_arc(canvas.context, box.right - r, box.top + r, r, -quarter, 0);
    cairo_arc(canvas.context, box.right - r, box.bottom - r, r, 0, quarter);
    cairo_arc(canvas.context, box.left + r, box.bottom - r, r, quarter, 2 * quarter);
    cairo_arc(canvas.context, box.left + r, box.top + r, r, 2 * quarter, 3 * quarter);
    cairo_close_path(canvas.context);
}

void AddLines(const Canvas& canvas, std::span<const PointF> points, bool closed) {
    const Placement& now = canvas.Now();
    for (const PointF& point : points) {
        cairo_line_to(canvas.context, now.X(point.x), now.Y(point.y));
    }
    if (closed) {
        cairo_close_path(canvas.context);
    }
}

void AddArc(const Canvas& canvas, const Arc& arc) {
    constexpr double radian = std::numbers::pi / 180;
    const Placement& now = canvas.Now();
    const double start = arc.startDegrees * radian;
    const double end = start + arc.sweepDegrees * radian;
    const auto add = arc.sweepDegrees < 0 ? cairo_arc_negative : cairo_arc;
    cairo_new_sub_path(canvas.context);
    add(canvas.context, now.X(arc.centre.x), now.Y(arc.centre.y), arc.radius * now.scale, start, end);
    if (std::abs(arc.sweepDegrees) >= 360) {
        cairo_close_path(canvas.context);
    }
}

void StrokeWith(const Canvas& canvas, Pen pen) {
    SetColor(canvas, pen.color);
    cairo_set_line_width(canvas.context, pen.width * canvas.Now().scale);
    cairo_stroke(canvas.context);
}

void FillWith(const Canvas& canvas, Color color) {
    SetColor(canvas, color);
    cairo_fill(canvas.context);
}

bool IsHigh(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLow(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

/// Text for pango: a lone surrogate becomes the replacement character, and a control character a space. Only wrapped
/// text has line breaks.
std::string Displayable(TextView text, bool breaks) {
    Text shown;
    shown.reserve(std::min(text.size(), longestText));
    for (std::size_t i = 0; i < text.size() && shown.size() < longestText; ++i) {
        const char16_t unit = text[i];
        if (IsHigh(unit) && i + 1 < text.size() && IsLow(text[i + 1])) {
            shown += unit;
            shown += text[++i];
        } else if (IsHigh(unit) || IsLow(unit)) {
            shown += u'\xFFFD';
        } else if (unit == u'\n' && breaks) {
            shown += unit;
        } else if (unit != u'\r' || !breaks) {
            const bool moves = unit < 0x20 || unit == 0x7F || unit == 0x2028 || unit == 0x2029;
            shown += moves ? u' ' : unit;
        }
    }
    return ToUtf8(shown);
}

/// Disables the user's font settings, so that lines have the same height on every screen.
PangoLayout* MakeLayout(cairo_t* context) {
    PangoLayout* layout = pango_cairo_create_layout(context);
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_SLIGHT);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_ON);
    PangoContext* letters = pango_layout_get_context(layout);
    pango_cairo_context_set_font_options(letters, options);
    pango_cairo_context_set_resolution(letters, 96);
    pango_context_set_base_dir(letters, PANGO_DIRECTION_LTR);
    cairo_font_options_destroy(options);
    pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_END);
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD);
    pango_layout_set_auto_dir(layout, FALSE);
    return layout;
}

int PangoUnits(double pixels) { return static_cast<int>(std::lround(pixels * PANGO_SCALE)); }

void SetText(Canvas& canvas, const PixelBox& box, const std::string& text, const Font& font, TextLayout kind) {
    PangoLayout* layout = canvas.layout;
    PangoFontDescription* description = pango_font_description_copy_static(font.description);
    pango_font_description_set_absolute_size(description, std::max(1, PangoUnits(font.size * canvas.Now().scale)));
    pango_layout_set_font_description(layout, description);
    pango_font_description_free(description);
    pango_layout_set_alignment(layout, kind == TextLayout::CentredLine ? PANGO_ALIGN_CENTER : PANGO_ALIGN_LEFT);
    pango_layout_set_width(layout, PangoUnits(box.Width()));
    // A negative height is a number of lines.
    pango_layout_set_height(layout, kind == TextLayout::Wrapped ? PangoUnits(box.Height()) : -1);
    pango_layout_set_text(layout, text.data(), static_cast<int>(text.size()));
}

/// The factor by which the letters are narrowed to fit the box: at least leastNarrowing, and 1 if the text does not fit
/// with that factor either. Called after SetText.
double FitLetters(Canvas& canvas, const PixelBox& box, TextLayout kind) {
    PangoLayout* layout = canvas.layout;
    if (pango_layout_is_ellipsized(layout) == FALSE) {
        return 1;
    }
    pango_layout_set_width(layout, PangoUnits(box.Width() / leastNarrowing));
    if (pango_layout_is_ellipsized(layout) != FALSE) {
        pango_layout_set_width(layout, PangoUnits(box.Width()));
        return 1;
    }
    if (kind == TextLayout::Wrapped) {
        return leastNarrowing;
    }
    int width = 0;
    pango_layout_get_size(layout, &width, nullptr);
    pango_layout_set_width(layout, width);
    return std::min(1.0, box.Width() * PANGO_SCALE / width);
}

/// The y coordinate of the first line's baseline, as a whole pixel.
double BaselineOf(const Canvas& canvas, const PixelBox& box, TextLayout kind) {
    const double ascent = static_cast<double>(pango_layout_get_baseline(canvas.layout)) / PANGO_SCALE;
    PangoRectangle logical{};
    pango_layout_get_extents(canvas.layout, nullptr, &logical);
    const double height = static_cast<double>(logical.height) / PANGO_SCALE;
    const double above = kind == TextLayout::Wrapped ? 0 : (box.Height() - height) / 2;
    return std::round(box.top + above + ascent);
}

/// The em size at which a line of the typeface is `lineHeight` high.
double EmSize(PangoFontDescription* description, double lineHeight) {
    constexpr double probe = 1024;
    const Object<PangoContext> context(pango_font_map_create_context(pango_cairo_font_map_get_default()));
    pango_font_description_set_absolute_size(description, probe * PANGO_SCALE);
    PangoFontMetrics* metrics = pango_context_get_metrics(context.get(), description, pango_language_from_string("en"));
    if (metrics == nullptr) {
        return 0;
    }
    const int line = pango_font_metrics_get_ascent(metrics) + pango_font_metrics_get_descent(metrics);
    pango_font_metrics_unref(metrics);
    return line <= 0 ? 0 : lineHeight * probe * PANGO_SCALE / line;
}

}  // namespace

// Fonts.

template <>
void Closer<Font>::operator()(Font* font) const noexcept {
    pango_font_description_free(font->description);
    delete font;
}

Owned<Font> MakeFont(std::int32_t height, std::int32_t weight) {
    if (height <= 0) {
        return nullptr;
    }
    Owned<Font> font(new Font{pango_font_description_new()});
    pango_font_description_set_family_static(font->description, family);
    pango_font_description_set_weight(font->description, static_cast<PangoWeight>(weight));
    font->size = EmSize(font->description, height);
    return font->size > 0 ? std::move(font) : nullptr;
}

// The canvas itself.

template <>
void Closer<Canvas>::operator()(Canvas* canvas) const noexcept {
    if (canvas->layout != nullptr) {
        g_object_unref(canvas->layout);
    }
    cairo_destroy(canvas->context);
    cairo_surface_destroy(canvas->surface);
    delete canvas;
}

Owned<Canvas> MakeCanvas(std::int32_t width, std::int32_t height) {
    if (width <= 0 || height <= 0) {
        return nullptr;
    }
    Owned<Canvas> canvas(new Canvas);
    canvas->surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    canvas->context = cairo_create(canvas->surface);
    if (cairo_status(canvas->context) != CAIRO_STATUS_SUCCESS ||
        cairo_image_surface_get_stride(canvas->surface) != width * 4) {
        return nullptr;
    }
    cairo_set_line_cap(canvas->context, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(canvas->context, CAIRO_LINE_JOIN_ROUND);
    canvas->layout = MakeLayout(canvas->context);
    return canvas;
}

PixelView PixelsOf(Canvas& canvas) {
    cairo_surface_flush(canvas.surface);
    const unsigned char* bytes = cairo_image_surface_get_data(canvas.surface);
    return {reinterpret_cast<const std::uint32_t*>(bytes), cairo_image_surface_get_width(canvas.surface),
            cairo_image_surface_get_height(canvas.surface)};
}

void PushTransform(Canvas& canvas, PointF origin, double scale) {
    const Placement& now = canvas.Now();
    canvas.placements.push_back({now.X(origin.x), now.Y(origin.y), now.scale * scale});
}

void PopTransform(Canvas& canvas) {
    if (canvas.placements.size() > 1) {
        canvas.placements.pop_back();
    }
}

// Boxes.

void FillBox(Canvas& canvas, const Rectangle& box, Color color) {
    AddBox(canvas, ToPixels(canvas, box));
    FillWith(canvas, color);
}

void FillRoundBox(Canvas& canvas, const Rectangle& box, std::int32_t corner, Color color) {
    AddRoundBox(canvas, ToPixels(canvas, box), corner * canvas.Now().scale / 2);
    FillWith(canvas, color);
}

void FrameBox(Canvas& canvas, const Rectangle& box, std::int32_t depth, Color color) {
    const PixelBox outer = ToPixels(canvas, box);
    const PixelBox inner = outer.Inset(std::max(1.0, std::round(depth * canvas.Now().scale)));
    cairo_set_fill_rule(canvas.context, CAIRO_FILL_RULE_EVEN_ODD);
    AddBox(canvas, outer);
    AddBox(canvas, inner);
    FillWith(canvas, color);
    cairo_set_fill_rule(canvas.context, CAIRO_FILL_RULE_WINDING);
}

void FrameRoundBox(Canvas& canvas, const Rectangle& box, std::int32_t corner, Color color) {
    const double scale = canvas.Now().scale;
    const double width = std::max(1.0, std::round(scale));
    AddRoundBox(canvas, ToPixels(canvas, box).Inset(width / 2), corner * scale / 2 - width / 2);
    StrokeWith(canvas, {color, width / scale});
}

// Text.

void DrawTextInBox(Canvas& canvas, const Rectangle& box, TextView text, Color color, const Font& font,
                   TextLayout kind) {
    const PixelBox pixels = ToPixels(canvas, box);
    if (pixels.Empty() || text.empty()) {
        return;
    }
    SetText(canvas, pixels, Displayable(text, kind == TextLayout::Wrapped), font, kind);
    const double narrowing = FitLetters(canvas, pixels, kind);
    const double ascent = static_cast<double>(pango_layout_get_baseline(canvas.layout)) / PANGO_SCALE;
    cairo_save(canvas.context);
    AddBox(canvas, pixels);
    cairo_clip(canvas.context);
    SetColor(canvas, color);
    cairo_translate(canvas.context, pixels.left, BaselineOf(canvas, pixels, kind) - ascent);
    cairo_scale(canvas.context, narrowing, 1);
    cairo_move_to(canvas.context, 0, 0);
    pango_cairo_show_layout(canvas.context, canvas.layout);
    cairo_restore(canvas.context);
    cairo_new_path(canvas.context);
}

double WidthOfLine(const Font& font, TextView text) {
    const Owned<Canvas> canvas = MakeCanvas(1, 1);
    if (!canvas) {
        return 0;
    }
    SetText(*canvas, {}, Displayable(text, false), font, TextLayout::Line);
    pango_layout_set_width(canvas->layout, -1);
    int width = 0;
    pango_layout_get_size(canvas->layout, &width, nullptr);
    return static_cast<double>(width) / PANGO_SCALE;
}

// Smooth lines and shapes.

void StrokeLines(Canvas& canvas, std::span<const PointF> points, bool closed, Pen pen) {
    AddLines(canvas, points, closed);
    StrokeWith(canvas, pen);
}

void FillPolygon(Canvas& canvas, std::span<const PointF> points, Color color) {
    AddLines(canvas, points, true);
    FillWith(canvas, color);
}

void StrokeArc(Canvas& canvas, const Arc& arc, Pen pen) {
    AddArc(canvas, arc);
    StrokeWith(canvas, pen);
}

void FillDisc(Canvas& canvas, PointF centre, double radius, Color color) {
    AddArc(canvas, {centre, radius});
    FillWith(canvas, color);
}

// Pictures.

void DrawPixels(Canvas& canvas, const Rectangle& box, const PixelView& picture) {
    const PixelBox target = ToPixels(canvas, box);
    if (target.Empty() || picture.width <= 0 || picture.height <= 0) {
        return;
    }
    // cairo only reads from it.
    auto* bytes = const_cast<unsigned char*>(reinterpret_cast<const unsigned char*>(picture.pixels));
    cairo_surface_t* source = cairo_image_surface_create_for_data(bytes, CAIRO_FORMAT_RGB24, picture.width,
                                                                  picture.height, picture.width * 4);
    cairo_save(canvas.context);
    AddBox(canvas, target);
    cairo_clip(canvas.context);
    cairo_translate(canvas.context, target.left, target.top);
    cairo_scale(canvas.context, target.Width() / picture.width, target.Height() / picture.height);
    cairo_set_source_surface(canvas.context, source, 0, 0);
    // Repeats the edge pixels outside the picture, so that its border does not fade.
    cairo_pattern_set_extend(cairo_get_source(canvas.context), CAIRO_EXTEND_PAD);
    cairo_pattern_set_filter(cairo_get_source(canvas.context), CAIRO_FILTER_GOOD);
    cairo_paint(canvas.context);
    cairo_restore(canvas.context);
    cairo_surface_destroy(source);
}

}  // namespace zv
