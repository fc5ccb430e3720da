// The thumbnails of the captures that a page shows: one batch at a time on a worker, kept until the program ends.
// Interface thread only.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "library/Thumbnails.h"

namespace zv {

/// How many captures a page shows.
inline constexpr std::size_t visibleCaptures = 6;

/// Requests the missing thumbnails of the page that begins at GalleryRecord::galleryFirstIndex. Does nothing while a
/// batch runs or waits for its collection, which repaints the page. The pointers are used during the call only.
void QueueVisibleThumbnails(const std::vector<const MediaFile*>& files);

/// Returns null if the file has not been asked for its picture.
std::shared_ptr<MediaThumbnail> FindThumbnail(const MediaFile& file);

/// Stores a finished batch. Returns true if there was one with thumbnails.
bool CollectThumbnails();

}  // namespace zv
