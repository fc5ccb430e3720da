// The main window's page of updates: what the publisher's release file says.
#pragma once

#include <cstdint>

#include "platform/Canvas.h"

namespace zv {

/// Draws the page between the columns `left` and `right`, in design pixels. Never checks by itself.
void DrawUpdates(Canvas& canvas, std::int32_t left, std::int32_t right);

}  // namespace zv
