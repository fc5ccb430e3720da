#include "library/Thumbnails.h"

#include <utility>

namespace zv {
namespace {

/// Returns the pictures of the files, in order; fewer if an exception ends the work early.
std::vector<PixelBitmap> MakePictures(const std::vector<MediaFile>& files, const std::stop_token& stop) {
    std::vector<PixelBitmap> made;
    try {
        std::vector<Text> paths;
        for (const MediaFile& file : files) {
            paths.push_back(file.path);
        }
        MakeThumbnails(paths, thumbnailWidth, thumbnailHeight, made, stop);
    } catch (...) {
        return made;
    }
    return made;
}

}  // namespace

Text ThumbnailKey(const MediaFile& file) { return file.path + u"|" + Decimal(file.modified); }

std::vector<KeyedThumbnail> LoadThumbnails(const std::vector<MediaFile>& files, const std::stop_token& stop) {
    std::vector<PixelBitmap> pictures = MakePictures(files, stop);
    std::vector<KeyedThumbnail> loaded;
    for (std::size_t i = 0; i < pictures.size() && i < files.size(); ++i) {
        loaded.push_back(
            {ThumbnailKey(files[i]), std::make_shared<MediaThumbnail>(MediaThumbnail{std::move(pictures[i]), {}})});
    }
    return loaded;
}

}  // namespace zv
