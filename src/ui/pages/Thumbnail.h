// The picture of a capture, as gallery, viewer and recommendations show it.
#pragma once

#include "library/LibraryScan.h"
#include "platform/Canvas.h"

namespace zv {

/// Draws the file's thumbnail into the box, in proportion and centred, or the text that is shown instead of it. Scales
/// a picture once for a size, not at each paint.
void DrawThumbnail(Canvas& canvas, const MediaFile& file, const Rectangle& box);

}  // namespace zv
