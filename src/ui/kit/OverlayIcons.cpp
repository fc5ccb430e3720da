#include "ui/kit/OverlayIcons.h"

#include <algorithm>
#include <iterator>

#include "ui/kit/Colors.h"

namespace zv {
namespace {

constexpr double penWidth = 2;

void DrawCamera(Canvas& canvas, Pen pen) {
    const PointF body[] = {{-11, -6}, {-6, -6}, {-4, -9}, {4, -9}, {6, -6}, {11, -6}, {11, 8}, {-11, 8}};
    StrokeLines(canvas, body, true, pen);
    StrokeArc(canvas, {{0, 1}, 4}, pen);
}

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

using IconPainter = void (*)(Canvas& canvas, Pen pen);

/// A row without a painter is the gear, which comes from the cache of the big icons.
struct IconRow {
    std::int32_t buttonId = 0;
    OverlayIconPlace place = OverlayIconPlace::None;
    IconPainter paint = nullptr;
};
constexpr IconRow rows[] = {
    {903, OverlayIconPlace::Left, DrawCamera},      {906, OverlayIconPlace::Left, DrawWindow},
    {908, OverlayIconPlace::Left, DrawPicture},     {913, OverlayIconPlace::Left, DrawPicture},
    {905, OverlayIconPlace::Above, DrawMicrophone}, {909, OverlayIconPlace::Above, DrawSpeaker},
    {910, OverlayIconPlace::Above, nullptr},
};

const IconRow* FindRow(std::int32_t buttonId) {
    const auto found =
        std::find_if(std::begin(rows), std::end(rows), [&](const IconRow& row) { return row.buttonId == buttonId; });
    return found == std::end(rows) ? nullptr : &*found;
}

void DrawGear(Canvas& canvas, OverlayIconState state) {
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

OverlayIconPlace OverlayIconPlaceOf(std::int32_t buttonId) {
    const IconRow* row = FindRow(buttonId);
    return row == nullptr ? OverlayIconPlace::None : row->place;
}

void DrawOverlayIcon(Canvas& canvas, std::int32_t buttonId, OverlayIconState state) {
    const IconRow* row = FindRow(buttonId);
    if (row == nullptr) {
        return;
    }
    if (row->paint == nullptr) {
        DrawGear(canvas, state);
        return;
    }
    row->paint(canvas, {state.active ? color::purple : color::primaryText, penWidth});
}

}  // namespace zv
