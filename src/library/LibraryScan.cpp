#include "library/LibraryScan.h"

#include <algorithm>
#include <array>
#include <optional>
#include <unordered_set>
#include <utility>

#include "platform/Files.h"
#include "platform/FolderReader.h"

namespace zv {
namespace {

constexpr std::size_t deepestFolders = 8;  ///< depth of the folders that are not entered; the root's own have depth 0
constexpr TextView rootUnreadable = u"Some folders could not be read. Check Settings > Library.";
constexpr TextView walkIncomplete = u"A folder could not be completely read.";
constexpr TextView desktopGroup = u"Desktop";
constexpr TextView earlierGroup = u"Earlier captures";
constexpr TextView recordingsName = u"Recordings";
constexpr TextView clipsName = u"Clips";

using PathSet = std::unordered_set<Text>;

struct FoundEntry {
    FolderEntry entry;
    Text path;
    Text topFolder;  ///< name of the folder in the root that contains the entry; empty for the root's own entries
};

/// Visits the entries of a folder and of its subfolders. A subfolder's entries follow it.
class FolderWalk {
public:
    /// Returns false if the folder cannot be opened.
    bool Enter(Text path, Text name) {
        Owned<FolderReader> reader = OpenFolder(path);
        const bool opened = reader != nullptr;
        if (opened) {
            levels_.push_back({std::move(path), std::move(name), std::move(reader)});
        }
        return opened;
    }

    /// Reads the entry after `found`, which is the last one or empty, into `found`.
    FolderRead Next(FoundEntry& found) {
        const std::size_t depth = levels_.size() - 1;
        if (found.entry.isFolder && depth < deepestFolders && !Enter(found.path, found.entry.name)) {
            return FolderRead::Failed;
        }
        for (; !levels_.empty(); levels_.pop_back()) {
            const FolderRead read = ReadEntry(*levels_.back().reader, found.entry);
            if (read == FolderRead::Entry) {
                found.path = JoinPath(levels_.back().path, found.entry.name);
                found.topFolder = levels_.size() > 1 ? levels_[1].name : Text();
            }
            if (read != FolderRead::End) {
                return read;
            }
        }
        return FolderRead::End;
    }

private:
    struct Level {
        Text path;
        Text name;
        Owned<FolderReader> reader;
    };
    std::vector<Level> levels_;  ///< the folders that are being read, the root first
};

enum class MediaClass { None, Image, Video };

/// `name` in lower case.
MediaClass ClassOf(TextView name) {
    struct Row {
        TextView extension;
        MediaClass result;
    };
    constexpr std::array<Row, 6> rows = {{{u".png", MediaClass::Image},
                                          {u".jpg", MediaClass::Image},
                                          {u".jpeg", MediaClass::Image},
                                          {u".mp4", MediaClass::Video},
                                          {u".mkv", MediaClass::Video},
                                          {u".mov", MediaClass::Video}}};
    if (EndsWith(name, u".partial.mp4")) {
        return MediaClass::None;
    }
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const Row& row) {
        return EndsWith(name, row.extension) && name.size() > row.extension.size();  // not only an extension
    });
    return found == rows.end() ? MediaClass::None : found->result;
}

struct ScanRoot {
    Text path;
    bool isCaptureRoot = false;
    bool isRecordings = false;
};

std::uint32_t KindOf(const ScanRoot& root, const FoundEntry& found, TextView lowerName, MediaClass media) {
    if (media == MediaClass::Image) {
        return mediaKind::screenshot;
    }
    const bool isRecording = lowerName.starts_with(u"zv_recording") || root.isRecordings ||
                             (root.isCaptureRoot && found.topFolder == recordingsName);
    return isRecording ? mediaKind::recording : mediaKind::clip;
}

Text GroupOf(const ScanRoot& root, const FoundEntry& found) {
    if (!root.isCaptureRoot || found.topFolder == clipsName || found.topFolder == recordingsName) {
        return Text(earlierGroup);
    }
    return found.topFolder.empty() ? Text(desktopGroup) : found.topFolder;
}

/// Adds the entry if it is a capture that `known` does not contain.
void AddCapture(const ScanRoot& root, const FoundEntry& found, PathSet& known, std::vector<MediaFile>& files) {
    const Text lowerName = Lowered(found.entry.name);
    const MediaClass media = ClassOf(lowerName);
    if (media == MediaClass::None || found.entry.isFolder) {
        return;
    }
    Text key = Lowered(FromPath(ToPath(found.path).lexically_normal()));
    if (known.contains(key)) {
        return;
    }
    const std::optional<FileFacts> facts = found.entry.facts ? found.entry.facts : ExamineFile(found.path);
    if (facts) {
        known.insert(std::move(key));
        files.push_back(
            {found.path, KindOf(root, found, lowerName, media), facts->size, facts->written, GroupOf(root, found)});
    }
}

/// Returns false if the system cannot check.
bool IsMissing(TextView path) {
    try {
        return !PathExists(path);
    } catch (const std::filesystem::filesystem_error&) {
        return false;
    }
}

void ScanOneRoot(const ScanRoot& root, PathSet& known, MediaResult& result) {
    if (root.path.empty() || IsMissing(root.path)) {
        return;
    }
    FolderWalk walk;
    FoundEntry next;
    FolderRead read = walk.Enter(root.path, {}) ? walk.Next(next) : FolderRead::Failed;
    if (read == FolderRead::Failed) {
        result.warning = rootUnreadable;
    }
    while (read == FolderRead::Entry) {
        const FoundEntry current = next;
        read = walk.Next(next);
        if (read == FolderRead::Failed) {
            result.warning = walkIncomplete;
            return;
        }
        AddCapture(root, current, known, result.files);
    }
}

void SortNewestFirst(std::vector<MediaFile>& files) {
    std::sort(files.begin(), files.end(),
              [](const MediaFile& a, const MediaFile& b) { return a.modified > b.modified; });
}

}  // namespace

MediaResult ScanLibrary(const Text& clips, const Text& recordings, const Text& screenshots, const Text& root) {
    const std::array<ScanRoot, 4> roots = {
        {{root, true, false}, {clips, false, false}, {recordings, false, true}, {screenshots, false, false}}};
    MediaResult result;
    PathSet known;
    for (const ScanRoot& scanned : roots) {
        ScanOneRoot(scanned, known, result);
    }
    SortNewestFirst(result.files);
    return result;
}

MediaResult ScanAllRoots(const LibraryFolders& folders) {
    MediaResult result = ScanLibrary(folders.clips, folders.recordings, folders.screenshots, folders.root);
    PathSet known;
    for (const MediaFile& file : result.files) {
        known.insert(Lowered(file.path));
    }
    for (const Text& previous : folders.previousRoots) {
        for (MediaFile& file : ScanLibrary({}, {}, {}, previous).files) {
            if (known.insert(Lowered(file.path)).second) {
                result.files.push_back(std::move(file));
            }
        }
    }
    SortNewestFirst(result.files);
    return result;
}

}  // namespace zv
