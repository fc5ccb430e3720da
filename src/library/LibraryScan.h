// The captures on disk: which files they are, of which kind and of which game. Every scan walks the folders afresh.
//
// Any thread. A scan of a large library takes long, so the interface runs it as a job (ui/commands/Library.h). Nothing
// here reads or changes shared state.
#pragma once

#include <cstdint>
#include <vector>

#include "core/Text.h"

namespace zv {

/// Values of MediaFile::kind.
namespace mediaKind {
inline constexpr std::uint32_t clip = 0;
inline constexpr std::uint32_t recording = 1;
inline constexpr std::uint32_t screenshot = 2;
}  // namespace mediaKind

struct MediaFile {
    Text path;                             ///< full path, as the walk produced it
    std::uint32_t kind = mediaKind::clip;  ///< a value of mediaKind
    std::uint64_t sizeBytes = 0;
    std::int64_t modified = 0;  ///< time of the last write, in units of 100 ns since 1601 (UTC)
    Text game;                  ///< the group: a game's folder, "Desktop" or "Earlier captures"
};

struct MediaResult {
    std::vector<MediaFile> files;  ///< newest first; the order of files with the same time can change between scans
    Text warning;                  ///< for the user: the last problem with a folder, or empty
};

/// The settings that a scan needs. An empty path is skipped.
struct LibraryFolders {
    Text clips;
    Text recordings;
    Text screenshots;
    Text root;                        ///< the capture root: its folders are games
    std::vector<Text> previousRoots;  ///< earlier capture roots
};

/// Lists the captures of four folders, to a depth of eight folders in each. Does not follow links and junctions. A file
/// that more than one folder reaches is listed once, as part of the capture root if that reaches it. A missing folder
/// counts as empty. A folder that cannot be read ends the walk of its root and sets the warning.
MediaResult ScanLibrary(const Text& clips, const Text& recordings, const Text& screenshots, const Text& root);

/// Lists the captures of the four folders and of the previous capture roots. A previous root adds files only, no
/// warning.
MediaResult ScanAllRoots(const LibraryFolders& folders);

/// The warning of a scan that an exception ended.
inline constexpr TextView libraryUnreadable = u"Cannot read library folders.";

}  // namespace zv
