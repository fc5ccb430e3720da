// The six large icons, each about 60 design pixels wide.
#pragma once

#include <cstdint>

#include "platform/Canvas.h"

namespace zv {

/// The numbers that tiles and notifications use.
enum class IconKind : std::int32_t { Replay = 0, Record = 1, Download = 2, Broadcast = 3, Camera = 4, Gear = 5 };

/// Centred on (x, y).
void DrawVectorIcon(Canvas& canvas, std::int32_t x, std::int32_t y, IconKind kind, Color color);

/// The same from a cache, with a black background: for black controls only.
void DrawCachedIcon(Canvas& canvas, std::int32_t x, std::int32_t y, IconKind kind, Color color);

void ClearIconCache();

}  // namespace zv
