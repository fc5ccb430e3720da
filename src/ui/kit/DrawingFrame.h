// The frame in which every page is drawn: a page computes a rectangle, registers it with an id, picks its colour from
// the state and draws, all in one pass.
//
// Layout is written in design pixels and scaled by one transform; no page knows the real window. The primitives
// register into UiGlobals::painting, which stands only while RenderUi runs. Interface thread.
#pragma once

#include <cstdint>
#include <functional>

#include "core/Text.h"
#include "platform/Canvas.h"
#include "platform/Window.h"
#include "ui/kit/Fonts.h"
#include "ui/kit/UiState.h"

namespace zv {

// The design size of the overlay, and the client size from which on the main window is not made smaller.
inline constexpr std::int32_t overlayWidth = 1010;
inline constexpr std::int32_t overlayHeight = 568;
inline constexpr std::int32_t mainWidth = 1060;
inline constexpr std::int32_t mainHeight = 680;

/// Sets scale and logical size from the client area, in device pixels. The main window's layout never grows past the
/// monitor's DPI: more room gives it more logical pixels. The overlay's is always of one size.
void FitMainWindow(UiState& state, std::int32_t clientWidth, std::int32_t clientHeight, std::int32_t dpi);
void FitOverlay(UiState& state, std::int32_t clientWidth, std::int32_t clientHeight);

/// The answer to message::paint. Without the memory for a back buffer the window is painted in strips.
void PaintWindow(AppWindow& window, UiState& state, bool overlay);

/// Keeps a back buffer of that size or makes one. False, and none is held, when it cannot be had.
bool EnsureBackBuffer(UiState& state, std::int32_t width, std::int32_t height);

/// Paints the pages of a window from the background up, and registers their targets anew.
void RenderUi(Canvas& canvas, UiState& state);

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
    bool enabled = true;  ///< false: not registered, so it takes neither clicks nor the focus
};
void DrawButton(Canvas& canvas, Button button);

void DrawTextLine(Canvas& canvas, const Rectangle& box, TextView text, Color color, FontRole font);
void DrawCentredText(Canvas& canvas, const Rectangle& box, TextView text, Color color, FontRole font);
void DrawWrappedText(Canvas& canvas, const Rectangle& box, TextView text, Color color, FontRole font);

}  // namespace zv
