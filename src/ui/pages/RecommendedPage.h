// The main window's page of recommendations: the publisher's cards.
#pragma once

#include <cstdint>

#include "platform/Canvas.h"

namespace zv {

/// Draws the page between the columns `left` and `right`, in design pixels. Reads the cards when it is first drawn.
void DrawRecommended(Canvas& canvas, std::int32_t left, std::int32_t right);

}  // namespace zv
