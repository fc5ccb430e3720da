// Which window is shown, and which of its pages. Pages, commands and windows select pages here; no other file shows or
// hides main window and overlay. Interface thread only.
#pragma once

#include <cstdint>

#include "platform/Rectangle.h"

namespace zv {

/// Values of UiGlobals::desktopPage.
namespace desktopPage {
inline constexpr std::int32_t home = 0;
inline constexpr std::int32_t recommended = 1;
inline constexpr std::int32_t settings = 2;
inline constexpr std::int32_t updates = 3;
inline constexpr std::int32_t help = 4;
inline constexpr std::int32_t count = 5;
}  // namespace desktopPage

/// Values of UiGlobals::overlayPage. Any other shows the gallery.
namespace overlayPage {
inline constexpr std::int32_t tiles = 0;
inline constexpr std::int32_t gallery = 1;
inline constexpr std::int32_t settings = 3;
inline constexpr std::int32_t viewer = 4;
}  // namespace overlayPage

/// Restores the main window if it is hidden or minimized, and activates it.
void ShowMainWindow();

/// Selects a page of the main window. Neither shows nor hides the window.
void SelectDesktopPage(std::int32_t page);

/// Opens the overlay on the captured monitor without activating it, or hides it if it is shown.
void ToggleQuickOverlay();
void OpenQuickOverlay();  ///< does nothing if it is shown
void HideOverlay();
bool IsOverlayShown();

/// Shows the overlay again at its last position.
void ReopenOverlay();

/// Sets UiGlobals::lastOverlayActivity.
void NoteOverlayActivity();

/// Selects a page of the overlay. Neither shows nor hides the overlay. The gallery is opened by SelectGallery
/// (ui/commands/Library.h), the viewer by OpenMediaViewer (ui/commands/MediaViewer.h).
void SelectOverlayPage(std::int32_t page);

/// Selects a section of the overlay's settings, a value of UiGlobals::settingsSection.
void SelectSettingsSection(std::int32_t section);

/// Returns the overlay's bounds in a work area: of its fixed proportions, as large as fits, centred at the top.
Rectangle OverlayBounds(const Rectangle& work);

void HideBadge();

}  // namespace zv
