// The pass that paints a window of pages. A page computes a rectangle, registers it with an id, picks its colour from
// the state and draws it, all in one pass (ui/kit/Controls.h).
//
// Layout is in design pixels and scaled by one transform; no page knows the real size of its window. The controls
// register into DrawingContext::painting, which is set while RenderUi runs. Interface thread.
#pragma once

#include <cstdint>

#include "platform/Canvas.h"
#include "platform/Window.h"
#include "ui/kit/UiState.h"

namespace zv {

// The design size of the overlay, and the client size below which the main window's layout shrinks.
inline constexpr std::int32_t overlayWidth = 1010;
inline constexpr std::int32_t overlayHeight = 568;
inline constexpr std::int32_t mainWidth = 1060;
inline constexpr std::int32_t mainHeight = 680;

/// Sets scale and logical size from the client area, in device pixels. The main window's layout never grows past the
/// monitor's DPI: more room gives it more logical pixels. The overlay's logical size is constant.
void FitMainWindow(UiState& state, std::int32_t clientWidth, std::int32_t clientHeight, std::int32_t dpi);
void FitOverlay(UiState& state, std::int32_t clientWidth, std::int32_t clientHeight);

/// Handles message::paint. Without memory for a back buffer it paints the window in strips.
void PaintWindow(AppWindow& window, UiState& state, bool overlay);

/// Keeps a back buffer of that size or makes one. Returns false, with no back buffer, if it cannot be made.
bool EnsureBackBuffer(UiState& state, std::int32_t width, std::int32_t height);

/// Paints background and pages of a window, and replaces its targets.
void RenderUi(Canvas& canvas, UiState& state);

}  // namespace zv
