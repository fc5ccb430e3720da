// The ids of all targets. Those of the main window and those of the overlay are separate.
#pragma once

#include <cstdint>

/// Of the main window.
namespace zv::desktopTarget {

inline constexpr std::int32_t firstPage = 10;  ///< plus a value of desktopPage
/// The same as the sidebar's last page, which is registered first and so receives the clicks on both.
inline constexpr std::int32_t quickOverlay = 14;
inline constexpr std::int32_t openOverlay = 1200;
inline constexpr std::int32_t openGallery = 1201;
inline constexpr std::int32_t recommended = 1202;

}  // namespace zv::desktopTarget

/// Of the quick overlay.
namespace zv::overlayTarget {

inline constexpr std::int32_t close = 901;
inline constexpr std::int32_t record = 902;
inline constexpr std::int32_t screenshot = 903;
inline constexpr std::int32_t replay = 904;
inline constexpr std::int32_t microphone = 905;
inline constexpr std::int32_t openApp = 906;
inline constexpr std::int32_t gallery = 908;
inline constexpr std::int32_t systemSound = 909;
inline constexpr std::int32_t settings = 910;
inline constexpr std::int32_t photoGallery = 913;
inline constexpr std::int32_t broadcast = 914;
inline constexpr std::int32_t galleryBack = 920;
inline constexpr std::int32_t saveReplay = 960;
inline constexpr std::int32_t switchReplay = 961;
inline constexpr std::int32_t replaySettings = 962;
inline constexpr std::int32_t closePopover = 965;
inline constexpr std::int32_t settingsBack = 970;
inline constexpr std::int32_t firstShortcut = 1000;  ///< plus a value of shortcutAction

}  // namespace zv::overlayTarget
