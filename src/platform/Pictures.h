// Pictures of files: thumbnails of videos and images, and whole images. Worker threads only, because every call blocks
// while files are read and decoded. A request to stop, which may come from any thread, ends a call early where the
// system can interrupt it; it then makes no further pictures.
#pragma once

#include <cstdint>
#include <stop_token>
#include <vector>

#include "core/Text.h"

namespace zv {

/// Rows from the top without padding, 0xXXRRGGBB a pixel. Without pixels it is no picture; then both sizes are 0.
struct PixelBitmap {
    std::vector<std::uint32_t> pixels;
    std::int32_t width = 0;
    std::int32_t height = 0;
};

/// Makes a picture of about `width` by `height` pixels of each file, in proportion and opaque. Appends one for each
/// path to `made`, in order; an empty one if the file yields none. If it throws, `made` keeps the pictures so far.
void MakeThumbnails(const std::vector<Text>& paths, std::int32_t width, std::int32_t height,
                    std::vector<PixelBitmap>& made, const std::stop_token& stop = {});

/// Reads a whole image, opaque over black. Returns an empty picture on failure, and if the image has more than
/// `maxPixels`; the size is checked before memory for the pixels is requested.
PixelBitmap LoadPicture(const Text& path, std::int64_t maxPixels, const std::stop_token& stop = {});

}  // namespace zv
