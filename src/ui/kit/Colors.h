// The colours that no theme changes. The accent colour of the theme is DrawingContext::accentColor.
#pragma once

#include "platform/Canvas.h"

namespace zv::color {

inline constexpr Color windowBackground = Rgb(17, 18, 25);
inline constexpr Color sidebar = Rgb(21, 23, 32);
inline constexpr Color statusStrip = Rgb(22, 24, 32);
inline constexpr Color primaryText = Rgb(241, 242, 250);
inline constexpr Color mutedText = Rgb(158, 164, 187);
inline constexpr Color button = Rgb(37, 40, 54);
inline constexpr Color buttonSelected = Rgb(57, 47, 84);
inline constexpr Color buttonHovered = Rgb(53, 56, 75);
inline constexpr Color buttonDisabled = Rgb(34, 35, 45);
inline constexpr Color primaryButtonHovered = Rgb(171, 144, 255);
inline constexpr Color textOnPrimaryButton = Rgb(19, 14, 36);
inline constexpr Color card = Rgb(26, 28, 38);
inline constexpr Color homeHeroCard = Rgb(39, 31, 60);
inline constexpr Color thumbnailWell = Rgb(37, 34, 45);
inline constexpr Color overlayTilePressed = Rgb(38, 25, 58);
inline constexpr Color overlayPanel = Rgb(22, 21, 27);
inline constexpr Color toast = Rgb(35, 34, 39);
inline constexpr Color badge = Rgb(20, 15, 30);
inline constexpr Color badgeRecording = Rgb(255, 100, 125);

/// Of the overlay's frames and active texts in every theme, and the accent of the purple theme.
inline constexpr Color purple = Rgb(151, 119, 255);
inline constexpr Color black = Rgb(0, 0, 0);

/// The overlay is transparent where it has this colour.
inline constexpr Color overlayKey = Rgb(1, 2, 3);

}  // namespace zv::color
