#include "ui/kit/OverlayIcons.h"

#include "ui/kit/Colors.h"

namespace zv {
namespace {

constexpr double smallPenWidth = 2;

void DrawWindow(Canvas& canvas, Pen pen) {
    const PointF edge[] = {{-11, -8}, {11, -8}, {11, 8}, {-11, 8}};
    const PointF titleBar[] = {{-11, -3}, {11, -3}};
    StrokeLines(canvas, edge, true, pen);
    StrokeLines(canvas, titleBar, false, pen);
}

void DrawPicture(Canvas& canvas, Pen pen) {
    const PointF edge[] = {{-11, -9}, {11, -9}, {11, 9}, {-11, 9}};
    const PointF mountains[] = {{-11, 6}, {-4, -1}, {2, 5}, {5, 2}, {11, 7}};
    StrokeLines(canvas, edge, true, pen);
    StrokeLines(canvas, mountains, false, pen);
    StrokeArc(canvas, {{5, -4}, 2}, pen);
}

void DrawMicrophone(Canvas& canvas, Pen pen) {
    const PointF leftSide[] = {{-4, -6}, {-4, 1}};
    const PointF rightSide[] = {{4, -6}, {4, 1}};
    const PointF stem[] = {{0, 8}, {0, 11}};
    const PointF foot[] = {{-4, 11}, {4, 11}};
    StrokeArc(canvas, {{0, -6}, 4, 180, 180}, pen);
    StrokeLines(canvas, leftSide, false, pen);
    StrokeLines(canvas, rightSide, false, pen);
    StrokeArc(canvas, {{0, 1}, 4, 0, 180}, pen);
    StrokeArc(canvas, {{0, 1}, 7, 0, 180}, pen);
    StrokeLines(canvas, stem, false, pen);
    StrokeLines(canvas, foot, false, pen);
}

void DrawSpeaker(Canvas& canvas, Pen pen) {
    const PointF box[] = {{-10, -3}, {-6, -3}, {0, -8}, {0, 8}, {-6, 3}, {-10, 3}};
    StrokeLines(canvas, box, true, pen);
    StrokeArc(canvas, {{0, 0}, 8, -50, 100}, pen);
}

void PaintLines(Canvas& canvas, OverlayIcon icon, Pen pen) {
    switch (icon) {
        case OverlayIcon::Window:
            DrawWindow(canvas, pen);
            break;
        case OverlayIcon::Picture:
            DrawPicture(canvas, pen);
            break;
        case OverlayIcon::Microphone:
            DrawMicrophone(canvas, pen);
            break;
        case OverlayIcon::Speaker:
            DrawSpeaker(canvas, pen);
            break;
        case OverlayIcon::None:
        case OverlayIcon::Gear:
            break;
    }
}

void DrawSmallGear(Canvas& canvas, OverlayIconState state) {
    constexpr double gearScale = 0.4;
    PushTransform(canvas, {}, gearScale);
    DrawControlIcon(canvas, IconKind::Gear, state.hovered ? color::purple : color::primaryText, state.pressed);
    PopTransform(canvas);
}

}  // namespace

void DrawControlIcon(Canvas& canvas, IconKind kind, Color color, bool pressed) {
    const auto draw = pressed ? DrawVectorIcon : DrawCachedIcon;
    draw(canvas, 0, 0, kind, color);
}

bool IsAboveLabel(OverlayIcon icon) {
    return icon == OverlayIcon::Microphone || icon == OverlayIcon::Speaker || icon == OverlayIcon::Gear;
}

void DrawOverlayIcon(Canvas& canvas, OverlayIcon icon, OverlayIconState state) {
    if (icon == OverlayIcon::Gear) {
        DrawSmallGear(canvas, state);
        return;
    }
    PaintLines(canvas, icon, {state.active ? color::purple : color::primaryText, smallPenWidth});
}

}  // namespace zv
