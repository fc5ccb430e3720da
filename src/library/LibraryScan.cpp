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
    Text lowerName;
    Text key;        ///< the same for all paths to the file
    Text topFolder;  ///< name of the folder in the root that contains the entry; empty for the root's own entries
};

/// What the keys of a folder's entries begin with. Normalizing a path is expensive, so it is done once for a folder.
Text KeyPrefix(const Text& folder) {
    constexpr TextView anyName = u"x";
    Text key = Lowered(FromPath(ToPath(JoinPath(folder, anyName)).lexically_normal()));
    key.resize(key.size() - anyName.size());
    return key;
}

/// Visits the entries of a folder and of its subfolders. A subfolder's entries follow it.
class FolderWalk {
public:
    /// Returns false if the folder cannot be opened.
    bool Enter(const Text& path, const Text& name) {
        Owned<FolderReader> reader = OpenFolder(path);
        const bool opened = reader != nullptr;
        if (opened) {
            levels_.push_back({path, name, KeyPrefix(path), std::move(reader)});
        }
        return opened;
    }

    /// Reads the entry after `last`, which is empty at first, into `found`.
    FolderRead Next(const FoundEntry& last, FoundEntry& found) {
        const std::size_t depth = levels_.size() - 1;
        if (last.entry.isFolder && depth < deepestFolders && !Enter(last.path, last.entry.name)) {
            return FolderRead::Failed;
        }
        for (; !levels_.empty(); levels_.pop_back()) {
            const Level& level = levels_.back();
            const FolderRead read = ReadEntry(*level.reader, found.entry);
            if (read == FolderRead::Entry) {
                found.path = JoinPath(level.path, found.entry.name);
                found.lowerName = Lowered(found.entry.name);
                found.key = level.keyPrefix + found.lowerName;
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
        Text keyPrefix;
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

std::uint32_t KindOf(const ScanRoot& root, const FoundEntry& found, MediaClass media) {
    if (media == MediaClass::Image) {
        return mediaKind::screenshot;
    }
    const bool isRecording = found.lowerName.starts_with(u"zv_recording") || root.isRecordings ||
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
    const MediaClass media = ClassOf(found.lowerName);
    if (media == MediaClass::None || found.entry.isFolder || known.contains(found.key)) {
        return;
    }
    const std::optional<FileFacts> facts = found.entry.facts ? found.entry.facts : ExamineFile(found.path);
    if (facts) {
        known.insert(found.key);
        files.push_back({found.path, KindOf(root, found, media), facts->size, facts->written, GroupOf(root, found)});
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
    FoundEntry current;
    FoundEntry next;
    FolderRead read = walk.Enter(root.path, {}) ? walk.Next(current, next) : FolderRead::Failed;
    if (read == FolderRead::Failed) {
        result.warning = rootUnreadable;
    }
    while (read == FolderRead::Entry) {
        std::swap(current, next);
        read = walk.Next(current, next);
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
    if (folders.previousRoots.empty()) {
        return result;
    }
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
