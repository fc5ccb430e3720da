#include "library/ClipList.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include "platform/Files.h"

namespace zv {
namespace {

namespace fs = std::filesystem;

struct FoundClip {
    ClipRow row;
    std::optional<std::int64_t> written;  ///< time of the last write; nullopt if the file could not be examined
};

/// Case-sensitive, unlike the scan of the library page.
bool IsClipName(TextView name) {
    const bool isVideo = EndsWith(name, u".mp4") || EndsWith(name, u".mkv") || EndsWith(name, u".mov");
    const bool hasStem = name.size() > 4;  // not only an extension
    return isVideo && hasStem && !EndsWith(name, u".partial.mp4");
}

void AppendClips(const Text& folder, std::vector<FoundClip>& clips) {
    std::error_code error;
    for (fs::directory_iterator entries(ToPath(folder), error), end; !error && entries != end;
         entries.increment(error)) {
        std::error_code unread;
        if (!entries->is_regular_file(unread) || !IsClipName(FromPath(entries->path().filename()))) {
            continue;
        }
        FoundClip clip;
        clip.row.path = FromPath(entries->path());
        if (const std::optional<FileFacts> facts = ExamineFile(clip.row.path)) {
            clip.row.size = facts->size;
            clip.written = facts->written;
        }
        clips.push_back(std::move(clip));
    }
}

}  // namespace

ClipList& CurrentClipList() {
    static ClipList list;
    return list;
}

void RefreshClipList(const Text& clipsFolder, const Text& recordingsFolder) {
    std::vector<FoundClip> clips;
    AppendClips(clipsFolder, clips);
    if (recordingsFolder != clipsFolder) {
        AppendClips(recordingsFolder, clips);
    }
    std::sort(clips.begin(), clips.end(), [](const FoundClip& a, const FoundClip& b) { return a.written > b.written; });
    ClipList& list = CurrentClipList();
    list.rows.clear();
    for (FoundClip& clip : clips) {
        list.rows.push_back(std::move(clip.row));
    }
    list.selected = std::min(list.selected, list.rows.empty() ? 0 : list.rows.size() - 1);
}

}  // namespace zv
