// A popup menu without its window: layout, painting and input.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/Canvas.h"
#include "platform/PopupMenu.h"
#include "platform/Rectangle.h"

namespace zv {

inline constexpr int menuFontHeight = 17;  ///< in design pixels

/// Rows, width and height are in design pixels, which `scale` converts to pixels of the screen.
struct PopupMenuModel {
    std::span<const MenuItem> items;
    std::vector<Rectangle> rows;
    int width = 0;
    int height = 0;
    double scale = 1;
    int highlighted = -1;  ///< index of a row
    bool closed = false;
    int chosenId = 0;  ///< valid after the menu has closed; 0: none
};

/// `widestLabel` is the width of the longest label in design pixels.
PopupMenuModel MakePopupMenuModel(std::span<const MenuItem> items, int widestLabel, double scale);

/// The bounds of the menu beside the pointer, inside `monitor` if it fits there.
Rectangle MenuBoundsAt(const PopupMenuModel& menu, Point pointer, const Rectangle& monitor);

/// Paints the menu over the whole canvas. `font` has the height menuFontHeight.
void PaintMenu(const PopupMenuModel& menu, Canvas& canvas, const Font& font);

// Input. Points are pixels of the menu's window. Functions that return a bool return true if the menu must be painted
// again.

bool MovePointerOverMenu(PopupMenuModel& menu, Point point);
/// A press outside closes the menu.
void PressButtonOnMenu(PopupMenuModel& menu, Point point);
/// A release on an item chooses it.
void ReleaseButtonOnMenu(PopupMenuModel& menu, Point point);
/// Up, Down, Enter, Space and Escape, by their virtual-key codes.
bool PressKeyOnMenu(PopupMenuModel& menu, std::uint32_t virtualKey);

/// Closes the menu and chooses the item of a row; -1 for none.
void CloseMenuWith(PopupMenuModel& menu, int row);

}  // namespace zv
