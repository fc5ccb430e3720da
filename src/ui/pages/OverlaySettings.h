// The overlay's settings page: a hub of nine cards, and a section for each. Every control works at once.
#pragma once

#include "platform/Canvas.h"

namespace zv {

/// Draws the hub, or the section that UiGlobals::settingsSection selects. An index above 8 shows the last section.
void DrawOverlaySettings(Canvas& canvas);

/// The nine cards alone.
void DrawSettingsHub(Canvas& canvas);

}  // namespace zv
