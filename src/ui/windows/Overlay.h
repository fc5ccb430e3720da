// The quick overlay: what the player opens over a running game. It never takes the focus, lies above all else, and is
// not there where its pages leave the key colour.
//
// Its pages are the tiles, the gallery, the settings and the viewer, all in a design space of 1010 by 568. The page
// is kept between openings. Interface thread only.
#pragma once

#include <cstdint>

#include "platform/Canvas.h"
#include "platform/Rectangle.h"
#include "platform/Window.h"

namespace zv {

/// Values of UiGlobals::overlayPage. Any other shows the gallery.
namespace overlayPage {
inline constexpr std::int32_t tiles = 0;
inline constexpr std::int32_t gallery = 1;
inline constexpr std::int32_t settings = 3;
}  // namespace overlayPage

/// From message::create to message::destroy the window is UiGlobals::overlayWindow and shows RenderQuickOverlay.
std::intptr_t OverlayProc(AppWindow& window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);

/// Paints header, close button and the page that is open.
void RenderQuickOverlay(Canvas& canvas);

/// Opens the overlay over the monitor that is captured, without taking the focus from what is in front. Hides it when
/// it is shown.
void ToggleQuickOverlay();
void HideOverlay();
bool IsOverlayShown();

/// The largest place for the overlay in a work area: as high or as wide, at the top, in the middle of the width.
Rectangle OverlayPlace(const Rectangle& work);

/// Turns the overlay to the gallery with all captures, from the first one. Neither shows nor hides it.
void OpenGallery();

/// What the tiles show of the engine: bit 0 a capture job runs, 1 a manual recording runs, 2 the replay runs,
/// 3 microphone on, 4 system sound on, 5 a second or more in the replay buffer.
std::uint32_t OverlaySignature();

/// Has the overlay painted anew if it is shown and its signature is not the one of the last time.
void RefreshOverlay();

}  // namespace zv
