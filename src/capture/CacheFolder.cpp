#include "capture/CacheFolder.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

#include "platform/Clock.h"
#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/Folders.h"

namespace zv {
namespace {

namespace fs = std::filesystem;

/// The folders in `folder`. Folders that cannot be read are empty.
std::vector<fs::path> FoldersIn(const fs::path& folder) {
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
        std::error_code unreadable;
        if (at->symlink_status(unreadable).type() == fs::file_type::directory) {
            found.push_back(at->path());
        }
    }
    return found;
}

/// Reads the digits at the front of `name` and removes them. Returns nothing if there are none, or too many.
std::optional<std::uint32_t> ReadNumber(TextView& name) {
    constexpr std::size_t mostDigits = 9;
    std::uint32_t number = 0;
    std::size_t digits = 0;
    for (; digits < name.size() && name[digits] >= u'0' && name[digits] <= u'9'; ++digits) {
        if (digits == mostDigits) {
            return std::nullopt;
        }
        number = number * 10 + (name[digits] - u'0');
    }
    name.remove_prefix(digits);
    return digits > 0 ? std::optional(number) : std::nullopt;
}

/// Returns true for the cache folder of a process that has ended. One with the id of this process belonged to an
/// earlier process.
bool IsLeft(const Text& folderName) {
    TextView name = folderName;
    const std::optional<std::uint32_t> process = ReadNumber(name);
    return process && name.starts_with(u'-') && (*process == OwnProcessId() || !IsProcessRunning(*process));
}

bool HoldsMedia(const Text& folderName) {
    return folderName.starts_with(u"replay-") || folderName.starts_with(u"save-");
}

}  // namespace

Text CaptureLogsFolder() { return JoinPath(CacheFolder(), u"ZVReelsMax"); }

bool MakeCacheFolder(Text& folder) {
    const Text caches = CaptureLogsFolder();
    folder = JoinPath(caches, DecimalUnsigned(OwnProcessId()) + u"-" + DecimalUnsigned(TickMs()));
    return CreatePrivateFolder(caches) && CreatePrivateFolder(folder);
}

void RemoveLeftovers(const Text& cacheFolder) {
    const fs::path own = ToPath(cacheFolder);
    for (const fs::path& folder : FoldersIn(own.parent_path())) {
        if (folder == own || !IsLeft(FromPath(folder.filename()))) {
            continue;
        }
        for (const fs::path& content : FoldersIn(folder)) {
            if (HoldsMedia(FromPath(content.filename()))) {
                std::error_code ignored;
                fs::remove_all(content, ignored);
            }
        }
    }
}

}  // namespace zv
