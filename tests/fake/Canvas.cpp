#include "fake/Canvas.h"

#include <cstdio>

namespace zv {

struct Font {
    std::int32_t height = 0;
    std::int32_t weight = 0;
};

struct Canvas {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::vector<std::uint32_t> pixels;
    std::vector<std::string> drawn;
};

namespace fake {
namespace {

std::vector<std::string> allDrawn;
int liveCanvases = 0;
int liveFonts = 0;

void Write(Canvas& canvas, std::string line) {
    allDrawn.push_back(line);
    canvas.drawn.push_back(std::move(line));
}

/// Prints at most two decimals, without trailing zeros.
std::string Number(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.2f", value);
    std::string number = text;
    number.erase(number.find_last_not_of('0') + 1);
    if (number.back() == '.') {
        number.pop_back();
    }
    return number == "-0" ? "0" : number;
}

std::string Number(std::int32_t value) { return std::to_string(value); }

std::string Written(const Rectangle& box) {
    return Number(box.left) + "," + Number(box.top) + "," + Number(box.right) + "," + Number(box.bottom);
}

std::string Written(PointF point) { return Number(point.x) + "," + Number(point.y); }

std::string WrittenColor(Color color) {
    const auto level = [&](unsigned shift) { return std::to_string(color >> shift & 0xFFU); };
    return level(0) + "," + level(8) + "," + level(16);
}

std::string Written(const Pen& pen) { return "pen " + Number(pen.width) + " " + WrittenColor(pen.color); }

std::string Written(std::span<const PointF> points) {
    std::string line;
    for (const PointF& point : points) {
        line += (line.empty() ? "" : " ") + Written(point);
    }
    return line;
}

/// Writes units above 127 as \uXXXX, so that tests are plain ASCII.
std::string Written(TextView text) {
    std::string line;
    for (const char16_t unit : text) {
        char code[8];
        std::snprintf(code, sizeof code, "\\u%04X", static_cast<unsigned>(unit));
        line += unit < 0x80 ? std::string(1, static_cast<char>(unit)) : code;
    }
    return "\"" + line + "\"";
}

}  // namespace

const std::vector<std::string>& Drawn(const Canvas& canvas) { return canvas.drawn; }

std::vector<std::string> Drawings(const std::string& beginning) {
    std::vector<std::string> found;
    for (const std::string& line : allDrawn) {
        if (line.starts_with(beginning)) {
            found.push_back(line);
        }
    }
    return found;
}

int LiveCanvases() { return liveCanvases; }
int LiveFonts() { return liveFonts; }
void ResetCanvas() { allDrawn.clear(); }

}  // namespace fake

using fake::Call;
using fake::Number;
using fake::Write;
using fake::Written;
using fake::WrittenColor;

template <>
void Closer<Font>::operator()(Font* font) const noexcept {
    --fake::liveFonts;
    delete font;
}

Owned<Font> MakeFont(std::int32_t height, std::int32_t weight) {
    const Call call("MakeFont");
    if (call.Fails()) {
        return nullptr;
    }
    ++fake::liveFonts;
    return Owned<Font>(new Font{height, weight});
}

template <>
void Closer<Canvas>::operator()(Canvas* canvas) const noexcept {
    --fake::liveCanvases;
    delete canvas;
}

Owned<Canvas> MakeCanvas(std::int32_t width, std::int32_t height) {
    const Call call("MakeCanvas");
    if (call.Fails() || width <= 0 || height <= 0) {
        return nullptr;
    }
    ++fake::liveCanvases;
    Owned<Canvas> canvas(new Canvas{width, height, {}, {}});
    canvas->pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    return canvas;
}

PixelView PixelsOf(Canvas& canvas) { return {canvas.pixels.data(), canvas.width, canvas.height}; }

void PushTransform(Canvas& canvas, PointF origin, double scale) {
    Write(canvas, "push " + Written(origin) + " scale " + Number(scale));
}

void PopTransform(Canvas& canvas) { Write(canvas, "pop"); }

void FillBox(Canvas& canvas, const Rectangle& box, Color color) {
    Write(canvas, "fill " + Written(box) + " " + WrittenColor(color));
}

void FillRoundBox(Canvas& canvas, const Rectangle& box, std::int32_t corner, Color color) {
    Write(canvas, "round " + Written(box) + " corner " + Number(corner) + " " + WrittenColor(color));
}

void FrameBox(Canvas& canvas, const Rectangle& box, std::int32_t depth, Color color) {
    Write(canvas, "frame " + Written(box) + " depth " + Number(depth) + " " + WrittenColor(color));
}

void FrameRoundBox(Canvas& canvas, const Rectangle& box, std::int32_t corner, Color color) {
    Write(canvas, "round frame " + Written(box) + " corner " + Number(corner) + " " + WrittenColor(color));
}

void DrawTextInBox(Canvas& canvas, const Rectangle& box, TextView text, Color color, const Font& font,
                   TextLayout layout) {
    const char* kind = layout == TextLayout::Line ? "" : layout == TextLayout::Wrapped ? " wrapped" : " centred";
    Write(canvas, "text " + Written(box) + " " + Number(font.height) + "/" + Number(font.weight) + kind + " " +
                      WrittenColor(color) + " " + Written(text));
}

void StrokeLines(Canvas& canvas, std::span<const PointF> points, bool closed, Pen pen) {
    Write(canvas, std::string(closed ? "outline " : "lines ") + Written(points) + " " + Written(pen));
}

void FillPolygon(Canvas& canvas, std::span<const PointF> points, Color color) {
    Write(canvas, "polygon " + Written(points) + " " + WrittenColor(color));
}

void StrokeArc(Canvas& canvas, const Arc& arc, Pen pen) {
    Write(canvas, "arc " + Written(arc.centre) + " radius " + Number(arc.radius) + " from " + Number(arc.startDegrees) +
                      " by " + Number(arc.sweepDegrees) + " " + Written(pen));
}

void FillDisc(Canvas& canvas, PointF centre, double radius, Color color) {
    Write(canvas, "disc " + Written(centre) + " radius " + Number(radius) + " " + WrittenColor(color));
}

void DrawPixels(Canvas& canvas, const Rectangle& box, const PixelView& picture) {
    Write(canvas, "pixels " + Written(box) + " of " + Number(picture.width) + "x" + Number(picture.height));
}

}  // namespace zv
