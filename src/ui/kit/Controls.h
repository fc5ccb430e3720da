// The controls that every page is made of: text, cards and buttons. Called inside RenderUi, or by a window that has no
// targets for text alone.
#pragma once

#include <cstdint>
#include <functional>

#include "core/Text.h"
#include "platform/Canvas.h"
#include "ui/kit/Fonts.h"
#include "ui/kit/UiState.h"

namespace zv {

/// Registers a rectangle that can be clicked.
void AddTarget(std::int32_t id, const Rectangle& box, std::function<void()> action);
bool IsHovered(std::int32_t id);
bool IsPressed(std::int32_t id);

struct Button {
    std::int32_t id = noTarget;
    Rectangle box = {};
    Text label = {};
    std::function<void()> action = {};
    bool primary = false;
    bool selected = false;
    bool enabled = true;  ///< false: not registered, so it receives neither clicks nor the focus
};
void DrawButton(Canvas& canvas, Button button);

/// A rounded panel on a page of the main window.
void DrawCard(Canvas& canvas, const Rectangle& box);

void DrawTextLine(Canvas& canvas, const Rectangle& box, TextView text, Color color, FontRole font);
void DrawCentredText(Canvas& canvas, const Rectangle& box, TextView text, Color color, FontRole font);
void DrawWrappedText(Canvas& canvas, const Rectangle& box, TextView text, Color color, FontRole font);

}  // namespace zv
