// The small pictures of captures, and the key under which each is kept.
#pragma once

#include <cstdint>
#include <memory>
#include <stop_token>
#include <vector>

#include "library/LibraryScan.h"
#include "platform/Pictures.h"

namespace zv {

// The size that is requested of the system. A picture may have any other size.
inline constexpr std::int32_t thumbnailWidth = 320;
inline constexpr std::int32_t thumbnailHeight = 180;

/// Shared by the cache and whoever draws it. Interface thread, once its job has returned it.
struct MediaThumbnail {
    PixelBitmap bitmap;  ///< empty: the file yields no picture, and is not asked for one again
    PixelBitmap shown;   ///< `bitmap` in the size in which it was drawn last; empty before that

    bool HasPicture() const { return bitmap.width > 0 && bitmap.height > 0; }
};

/// Path and time of the last write, so that a file that changes gets a new picture.
Text ThumbnailKey(const MediaFile& file);

struct KeyedThumbnail {
    Text key;
    std::shared_ptr<MediaThumbnail> thumbnail;
};

/// Returns the thumbnails of the files, in order. An exception ends the list early. Blocks, if `stop` is not requested:
/// worker threads only.
std::vector<KeyedThumbnail> LoadThumbnails(const std::vector<MediaFile>& files, const std::stop_token& stop);

}  // namespace zv
