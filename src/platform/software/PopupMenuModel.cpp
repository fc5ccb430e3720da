#include "platform/software/PopupMenuModel.h"

#include <algorithm>
#include <array>

namespace zv {
namespace {

constexpr Color menuColor = Rgb(26, 28, 38);
constexpr Color frameColor = Rgb(69, 72, 92);
constexpr Color highlightColor = Rgb(57, 47, 84);
constexpr Color textColor = Rgb(241, 242, 250);

// Design pixels.
constexpr int rowHeight = 28;
constexpr int separatorHeight = 9;
constexpr int margin = 4;
constexpr int textLeft = 16;
constexpr int checkWidth = 20;  ///< of the column of check marks, if an item is checked

constexpr std::uint32_t enterKey = 13;
constexpr std::uint32_t escapeKey = 27;
constexpr std::uint32_t spaceKey = 32;
constexpr std::uint32_t upKey = 38;
constexpr std::uint32_t downKey = 40;

int Scaled(const PopupMenuModel& menu, int design) { return static_cast<int>(design * menu.scale); }

bool Contains(const PopupMenuModel& menu, const Rectangle& box, Point point) {
    return point.x >= Scaled(menu, box.left) && point.x < Scaled(menu, box.right) && point.y >= Scaled(menu, box.top) &&
           point.y < Scaled(menu, box.bottom);
}

int CheckWidth(std::span<const MenuItem> items) {
    const bool any = std::any_of(items.begin(), items.end(), [](const MenuItem& item) { return item.checked; });
    return any ? checkWidth : 0;
}

void DrawCheckMark(Canvas& canvas, const Rectangle& row) {
    const double middle = (row.top + row.bottom) / 2.0;
    const std::array<PointF, 3> points{{{14, middle}, {18, middle + 4}, {26, middle - 5}}};
    StrokeLines(canvas, points, false, {textColor, 2});
}

bool IsSeparator(const PopupMenuModel& menu, int row) { return menu.items[static_cast<std::size_t>(row)].id == 0; }

/// Returns -1 if there is no item at the point.
int ItemAt(const PopupMenuModel& menu, Point point) {
    for (int row = 0; row < static_cast<int>(menu.rows.size()); ++row) {
        if (!IsSeparator(menu, row) && Contains(menu, menu.rows[static_cast<std::size_t>(row)], point)) {
            return row;
        }
    }
    return -1;
}

bool Highlight(PopupMenuModel& menu, int row) {
    const bool changed = row != menu.highlighted;
    menu.highlighted = row;
    return changed;
}

/// Highlights the next item. The first item comes after the last one, and vice versa.
bool MoveHighlight(PopupMenuModel& menu, int step) {
    const int count = static_cast<int>(menu.items.size());
    int row = menu.highlighted < 0 && step < 0 ? 0 : menu.highlighted;
    for (int tries = 0; tries < count; ++tries) {
        row = (row + step + count) % count;
        if (!IsSeparator(menu, row)) {
            return Highlight(menu, row);
        }
    }
    return false;
}

}  // namespace

PopupMenuModel MakePopupMenuModel(std::span<const MenuItem> items, int widestLabel, double scale) {
    PopupMenuModel menu;
    menu.items = items;
    menu.scale = scale;
    menu.width = widestLabel + 2 * textLeft + CheckWidth(items);
    int y = margin;
    for (const MenuItem& item : items) {
        const int height = item.id == 0 ? separatorHeight : rowHeight;
        menu.rows.push_back({margin, y, menu.width - margin, y + height});
        y += height;
    }
    menu.height = y + margin;
    return menu;
}

Rectangle MenuBoundsAt(const PopupMenuModel& menu, Point pointer, const Rectangle& monitor) {
    const int width = Scaled(menu, menu.width);
    const int height = Scaled(menu, menu.height);
    const int left = std::max(pointer.x + width > monitor.right ? pointer.x - width : pointer.x, monitor.left);
    const int top = std::max(pointer.y + height > monitor.bottom ? pointer.y - height : pointer.y, monitor.top);
    return {left, top, left + width, top + height};
}

void PaintMenu(const PopupMenuModel& menu, Canvas& canvas, const Font& font) {
    PushTransform(canvas, {0, 0}, menu.scale);
    const Rectangle all{0, 0, menu.width, menu.height};
    FillBox(canvas, all, menuColor);
    FrameBox(canvas, all, 1, frameColor);
    for (std::size_t i = 0; i < menu.items.size(); ++i) {
        const Rectangle& row = menu.rows[i];
        if (menu.items[i].id == 0) {
            const int middle = (row.top + row.bottom) / 2;
            FillBox(canvas, {row.left + margin, middle, row.right - margin, middle + 1}, frameColor);
            continue;
        }
        if (static_cast<int>(i) == menu.highlighted) {
            FillRoundBox(canvas, row, 2 * margin, highlightColor);
        }
        if (menu.items[i].checked) {
            DrawCheckMark(canvas, row);
        }
        DrawTextInBox(canvas, {textLeft + CheckWidth(menu.items), row.top, row.right, row.bottom}, menu.items[i].label,
                      textColor, font, TextLayout::Line);
    }
    PopTransform(canvas);
}

bool MovePointerOverMenu(PopupMenuModel& menu, Point point) { return Highlight(menu, ItemAt(menu, point)); }

void PressButtonOnMenu(PopupMenuModel& menu, Point point) {
    const Rectangle all{0, 0, menu.width, menu.height};
    if (!Contains(menu, all, point)) {
        CloseMenuWith(menu, -1);
    }
}

void ReleaseButtonOnMenu(PopupMenuModel& menu, Point point) {
    const int row = ItemAt(menu, point);
    if (row >= 0) {
        CloseMenuWith(menu, row);
    }
}

bool PressKeyOnMenu(PopupMenuModel& menu, std::uint32_t virtualKey) {
    switch (virtualKey) {
        case escapeKey:
            CloseMenuWith(menu, -1);
            return false;
        case enterKey:
        case spaceKey:
            if (menu.highlighted >= 0) {
                CloseMenuWith(menu, menu.highlighted);
            }
            return false;
        case upKey:
            return MoveHighlight(menu, -1);
        case downKey:
            return MoveHighlight(menu, 1);
        default:
            return false;
    }
}

void CloseMenuWith(PopupMenuModel& menu, int row) {
    menu.closed = true;
    menu.chosenId = row >= 0 ? menu.items[static_cast<std::size_t>(row)].id : 0;
}

}  // namespace zv
