// The overlay's page for one clip, recording or screenshot: its picture, the progress bar and the transport buttons.
// Interface thread.
#pragma once

#include <cstdint>

#include "core/Text.h"
#include "platform/Canvas.h"

namespace zv {

void DrawMediaViewer(Canvas& canvas);

/// Minutes and seconds of a position in units of 100 ns, truncated: "0:07", "61:01".
Text FormatMediaTime(std::int64_t position);

}  // namespace zv
