#include "ui/kit/Icons.h"

#include <array>
#include <cmath>
#include <numbers>
#include <vector>

#include "ui/kit/Colors.h"

namespace zv {
namespace {

constexpr double penWidth = 4;
constexpr std::int32_t cachedSize = 320;  ///< four times the size on the screen
constexpr std::int32_t shownSize = 80;
constexpr double cachedScale = 4;

PointF OnCircle(double radius, double degrees) {
    const double angle = degrees * std::numbers::pi / 180;
    return {radius * std::cos(angle), radius * std::sin(angle)};
}

/// At the end of a clockwise arc, in its direction.
void FillArrowhead(Canvas& canvas, double radius, double degrees, Color color) {
    constexpr double halfWidth = 9;
    constexpr double length = 13;
    const PointF ahead = OnCircle(1, degrees + 90);
    const PointF end = OnCircle(radius, degrees);
    const PointF points[] = {OnCircle(radius - halfWidth, degrees),
                             OnCircle(radius + halfWidth, degrees),
                             {end.x + length * ahead.x, end.y + length * ahead.y}};
    FillPolygon(canvas, points, color);
}

void DrawReplay(Canvas& canvas, Color color) {
    for (const double start : {200.0, 20.0}) {
        StrokeArc(canvas, {{}, 25, start, 120}, {color, penWidth});
        FillArrowhead(canvas, 25, start + 120, color);
    }
    FillDisc(canvas, {}, 10, color);
}

void DrawRecord(Canvas& canvas, Color color) {
    StrokeArc(canvas, {{}, 25, 85, 280}, {color, penWidth});
    FillDisc(canvas, {}, 11, color);
    FillDisc(canvas, {0, 25}, 5, color);
    FillArrowhead(canvas, 25, 365, color);
}

void DrawDownload(Canvas& canvas, Color color) {
    const PointF shaft[] = {{0, -26}, {0, 10}};
    const PointF head[] = {{-13, -3}, {0, 10}, {13, -3}};
    const PointF tray[] = {{-27, 8}, {-27, 25}, {27, 25}, {27, 8}};
    StrokeLines(canvas, shaft, false, {color, penWidth});
    StrokeLines(canvas, head, false, {color, penWidth});
    StrokeLines(canvas, tray, false, {color, penWidth});
}

void DrawBroadcast(Canvas& canvas, Color color) {
    for (const double radius : {28.0, 20.0, 12.0}) {
        StrokeArc(canvas, {{}, radius, 120, 300}, {color, penWidth});
    }
    const PointF stem[] = {{0, 0}, {0, 28}};
    StrokeLines(canvas, stem, false, {color, penWidth});
}

void DrawCamera(Canvas& canvas, Color color) {
    const PointF body[] = {{-29, -16}, {29, -16}, {29, 24}, {-29, 24}};
    const PointF top[] = {{-11, -24}, {11, -24}, {11, -16}, {-11, -16}};
    StrokeLines(canvas, body, true, {color, penWidth});
    FillPolygon(canvas, top, color);
    StrokeArc(canvas, {{0, 4}, 12}, {color, penWidth});
}

void DrawGear(Canvas& canvas, Color color) {
    constexpr int count = 64;
    std::array<PointF, count> outline;
    for (int i = 0; i < count; ++i) {
        outline[static_cast<std::size_t>(i)] = OnCircle(i / 4 % 2 == 0 ? 22 : 28, i * 360.0 / count);
    }
    StrokeLines(canvas, outline, true, {color, 3.5});
    StrokeArc(canvas, {{}, 9}, {color, 3.5});
}

using IconPainter = void (*)(Canvas& canvas, Color color);
constexpr std::array<IconPainter, 6> painters{DrawReplay,    DrawRecord, DrawDownload,
                                              DrawBroadcast, DrawCamera, DrawGear};

struct CachedIcon {
    IconKind kind = IconKind::Replay;
    Color color = 0;
    Owned<Canvas> picture;
};

std::vector<CachedIcon>& Cache() {
    static std::vector<CachedIcon> icons;
    return icons;
}

Owned<Canvas> PaintForCache(IconKind kind, Color color) {
    Owned<Canvas> picture = MakeCanvas(cachedSize, cachedSize);
    if (picture) {
        FillBox(*picture, {0, 0, cachedSize, cachedSize}, color::black);
        PushTransform(*picture, {cachedSize / 2.0, cachedSize / 2.0}, cachedScale);
        DrawVectorIcon(*picture, 0, 0, kind, color);
        PopTransform(*picture);
    }
    return picture;
}

/// Returns null without memory for the picture.
Canvas* FindOrPaint(IconKind kind, Color color) {
    for (const CachedIcon& icon : Cache()) {
        if (icon.kind == kind && icon.color == color) {
            return icon.picture.get();
        }
    }
    Owned<Canvas> picture = PaintForCache(kind, color);
    if (!picture) {
        return nullptr;
    }
    Cache().push_back({kind, color, std::move(picture)});
    return Cache().back().picture.get();
}

}  // namespace

void DrawVectorIcon(Canvas& canvas, std::int32_t x, std::int32_t y, IconKind kind, Color color) {
    const auto row = static_cast<std::size_t>(kind);
    if (row >= painters.size()) {
        return;
    }
    PushTransform(canvas, {static_cast<double>(x), static_cast<double>(y)}, 1);
    painters[row](canvas, color);
    PopTransform(canvas);
}

void DrawCachedIcon(Canvas& canvas, std::int32_t x, std::int32_t y, IconKind kind, Color color) {
    Canvas* picture = FindOrPaint(kind, color);
    if (picture == nullptr) {
        DrawVectorIcon(canvas, x, y, kind, color);
        return;
    }
    constexpr std::int32_t half = shownSize / 2;
    DrawPixels(canvas, {x - half, y - half, x + half, y + half}, PixelsOf(*picture));
}

void ClearIconCache() { Cache().clear(); }

}  // namespace zv
