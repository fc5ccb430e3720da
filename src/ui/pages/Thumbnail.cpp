#include "ui/pages/Thumbnail.h"

#include <algorithm>
#include <cmath>

#include "ui/commands/Thumbnails.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/kit/DrawingContext.h"

namespace zv {
namespace {

PixelView ViewOf(const PixelBitmap& bitmap) { return {bitmap.pixels.data(), bitmap.width, bitmap.height}; }

/// The largest rectangle of the picture's proportions in the middle of the box.
Rectangle FittedBox(const PixelBitmap& picture, const Rectangle& box) {
    const std::int64_t byHeight = std::int64_t{picture.width} * box.Height();
    const std::int64_t byWidth = std::int64_t{picture.height} * box.Width();
    Point size{box.Width(), box.Height()};
    if (byWidth <= byHeight) {
        size.y = static_cast<std::int32_t>(std::max<std::int64_t>(byWidth / picture.width, 1));
    } else {
        size.x = static_cast<std::int32_t>(std::max<std::int64_t>(byHeight / picture.height, 1));
    }
    const Point corner{box.left + (box.Width() - size.x) / 2, box.top + (box.Height() - size.y) / 2};
    return {corner.x, corner.y, corner.x + size.x, corner.y + size.y};
}

/// Returns an empty bitmap if there is not enough memory.
PixelBitmap Scaled(const PixelBitmap& picture, std::int32_t width, std::int32_t height) {
    const Owned<Canvas> canvas = MakeCanvas(width, height);
    if (!canvas) {
        return {};
    }
    DrawPixels(*canvas, {0, 0, width, height}, ViewOf(picture));
    const PixelView view = PixelsOf(*canvas);
    return {{view.pixels, view.pixels + static_cast<std::ptrdiff_t>(width) * height}, width, height};
}

/// Draws the copy that has as many pixels as the box covers in the window that is being painted.
void DrawPicture(Canvas& canvas, MediaThumbnail& thumbnail, const Rectangle& box) {
    const auto pixels = [scale = Drawing().painting->scale](std::int32_t from, std::int32_t to) {
        return static_cast<std::int32_t>(std::lround(to * scale) - std::lround(from * scale));
    };
    const std::int32_t width = pixels(box.left, box.right);
    const std::int32_t height = pixels(box.top, box.bottom);
    if (thumbnail.shown.width != width || thumbnail.shown.height != height) {
        thumbnail.shown = Scaled(thumbnail.bitmap, width, height);
    }
    DrawPixels(canvas, box, ViewOf(thumbnail.shown.width > 0 ? thumbnail.shown : thumbnail.bitmap));
}

}  // namespace

void DrawThumbnail(Canvas& canvas, const MediaFile& file, const Rectangle& box) {
    FillBox(canvas, box, color::thumbnailWell);
    const std::shared_ptr<MediaThumbnail> thumbnail = FindThumbnail(file);
    if (!thumbnail || !thumbnail->HasPicture()) {
        DrawCentredText(canvas, box, thumbnail ? u"Open to view" : u"Loading preview...", color::mutedText,
                        FontRole::Small);
        return;
    }
    DrawPicture(canvas, *thumbnail, FittedBox(thumbnail->bitmap, box));
}

}  // namespace zv
