#include "ui/kit/OverlayControls.h"

#include <utility>

#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"

namespace zv {
namespace {

constexpr std::int32_t buttonFrame = 1;
constexpr std::int32_t tileFrame = 2;
constexpr double tileIconScale = 0.78;

std::int32_t Middle(std::int32_t from, std::int32_t to) { return (from + to) / 2; }

void FillControl(Canvas& canvas, std::int32_t id, const Rectangle& box) {
    FillBox(canvas, box, IsPressed(id) ? color::overlayTilePressed : color::black);
}

/// The part of the button beside or below the icon.
Rectangle LabelBox(const OverlayButton& button) {
    Rectangle box = button.box;
    if (button.icon == OverlayIcon::None) {
        return box;
    }
    if (IsAboveLabel(button.icon)) {
        box.top += 31;
    } else {
        box.left += 40;
    }
    return box;
}

PointF IconCentre(const OverlayButton& button) {
    const Rectangle& box = button.box;
    if (IsAboveLabel(button.icon)) {
        return {static_cast<double>(Middle(box.left, box.right)), box.top + 17.0};
    }
    return {box.left + 24.0, static_cast<double>(Middle(box.top, box.bottom))};
}

void DrawIconOf(Canvas& canvas, const OverlayButton& button) {
    PushTransform(canvas, IconCentre(button), 1);
    DrawOverlayIcon(canvas, button.icon,
                    {.active = button.active, .hovered = IsHovered(button.id), .pressed = IsPressed(button.id)});
    PopTransform(canvas);
}

Color LabelColor(const OverlayButton& button) {
    if (!button.enabled) {
        return color::mutedText;
    }
    return button.active ? color::purple : color::primaryText;
}

void DrawTileIcon(Canvas& canvas, const OverlayTile& tile) {
    const Rectangle& box = tile.box;
    PushTransform(canvas, {static_cast<double>(Middle(box.left, box.right)), box.top + 64.0}, tileIconScale);
    DrawControlIcon(canvas, tile.icon, tile.active ? color::purple : color::primaryText, IsPressed(tile.id));
    PopTransform(canvas);
}

}  // namespace

void DrawOverlayButton(Canvas& canvas, OverlayButton button) {
    FillControl(canvas, button.id, button.box);
    if (IsHovered(button.id) || IsPressed(button.id)) {
        FrameBox(canvas, button.box, buttonFrame, color::purple);
    }
    if (button.icon != OverlayIcon::None) {
        DrawIconOf(canvas, button);
    }
    DrawCentredText(canvas, LabelBox(button), button.label, LabelColor(button), FontRole::Small);
    if (button.enabled) {
        AddTarget(button.id, button.box, std::move(button.action));
    }
}

void DrawOverlayTile(Canvas& canvas, OverlayTile tile) {
    const Rectangle& box = tile.box;
    FillControl(canvas, tile.id, box);
    if (tile.active || IsHovered(tile.id) || !tile.enabled) {
        FrameBox(canvas, box, tileFrame, color::purple);
    }
    DrawCentredText(canvas, {box.left + 4, box.top + 7, box.right - 4, box.top + 27}, tile.title, color::primaryText,
                    FontRole::Small);
    DrawTileIcon(canvas, tile);
    DrawCentredText(canvas, {box.left + 4, box.bottom - 25, box.right - 4, box.bottom - 5}, tile.status,
                    tile.active ? color::purple : color::mutedText, FontRole::Small);
    if (tile.enabled) {
        AddTarget(tile.id, box, std::move(tile.action));
    }
}

}  // namespace zv
