// The quick overlay's window, which the player opens over a running game. It is never activated and is topmost. The
// colour key makes it transparent wherever its pages paint nothing.
//
// Its pages share a design space of 1010 by 568. It keeps its page while it is hidden. Interface thread only.
#pragma once

#include <cstdint>

#include "platform/Canvas.h"
#include "platform/Window.h"

namespace zv {

/// Sets UiGlobals::overlayWindow at message::create and clears it at message::destroy.
std::intptr_t OverlayProc(AppWindow& window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);

/// Paints header, close button and the current page.
void RenderQuickOverlay(Canvas& canvas);

/// The engine's state on the tiles: bit 0 a capture job runs, 1 a manual recording runs, 2 the replay runs,
/// 3 microphone on, 4 system sound on, 5 at least one second in the replay buffer.
std::uint32_t OverlaySignature();

/// Repaints the overlay if it is shown and its signature has changed.
void RefreshOverlay();

}  // namespace zv
