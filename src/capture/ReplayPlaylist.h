// Reads the replay's playlist: which segments it lists, and how many seconds they hold.
//
// The playlist is FFmpeg's own, plain text read as bytes. Segment names are compared and written as bytes; as byte
// strings they sort in time order.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "core/Text.h"

namespace zv {

using SegmentNames = std::vector<std::string>;

/// The bare names of the segments, in the order of the lines. Everything that could leave the folder is ignored.
SegmentNames SegmentNamesIn(std::string_view playlist);

/// The sum of all durations, truncated to whole seconds.
std::int32_t SecondsIn(std::string_view playlist);

/// Which of the listed segments are due after `lastSent`, in order. Names compare as bytes, so that none is ever sent
/// twice. An empty `lastSent` starts a new stream, at most two segments back.
SegmentNames SegmentsToRelay(SegmentNames listed, const std::string& lastSent);

/// The full path of a replay folder's playlist.
Text PlaylistPath(TextView folder);

/// The names that the playlist of `folder` lists; none when there is no playlist.
SegmentNames ReadSegmentList(TextView folder);

/// A segment's path for file-system calls. Empty if the system cannot represent the name.
std::filesystem::path SegmentPath(TextView folder, const std::string& name);

}  // namespace zv
