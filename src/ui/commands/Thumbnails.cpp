#include "ui/commands/Thumbnails.h"

#include <algorithm>
#include <utility>

#include "ui/commands/FastJobs.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

constexpr std::size_t cacheLimit = 96;  ///< 16 pages. A larger cache is emptied before the next batch is stored.

std::vector<MediaFile> MissingThumbnails(const std::vector<const MediaFile*>& files) {
    const auto first = static_cast<std::size_t>(std::max(Ui().gallery.galleryFirstIndex, 0));
    const std::size_t end = std::min(first + visibleCaptures, files.size());
    std::vector<MediaFile> missing;
    for (std::size_t i = first; i < end; ++i) {
        if (!FindThumbnail(*files[i])) {
            missing.push_back(*files[i]);
        }
    }
    return missing;
}

}  // namespace

void QueueVisibleThumbnails(const std::vector<const MediaFile*>& files) {
    LibraryRecord& library = Ui().library;
    if (library.thumbnailSlot.IsBusy()) {
        return;
    }
    std::vector<MediaFile> missing = MissingThumbnails(files);
    if (missing.empty()) {
        return;
    }
    library.thumbnailSlot.Start(
        [missing = std::move(missing), stop = Ui().pictureStop.get_token()] { return LoadThumbnails(missing, stop); },
        {});
    ArmCollectionTimer();
}

std::shared_ptr<MediaThumbnail> FindThumbnail(const MediaFile& file) {
    const auto& cache = Ui().library.thumbnailCache;
    const auto found = cache.find(ThumbnailKey(file));
    return found == cache.end() ? nullptr : found->second;
}

bool CollectThumbnails() {
    LibraryRecord& library = Ui().library;
    if (!library.thumbnailSlot.IsFinished()) {
        return false;
    }
    std::vector<KeyedThumbnail> loaded = library.thumbnailSlot.Take();
    if (library.thumbnailCache.size() > cacheLimit) {
        library.thumbnailCache.clear();
    }
    for (KeyedThumbnail& item : loaded) {
        library.thumbnailCache[std::move(item.key)] = std::move(item.thumbnail);
    }
    return !loaded.empty();  // without a picture, a repaint would request the same files again at once
}

}  // namespace zv
