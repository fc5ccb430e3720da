// The user's folders as the shell knows them.
#include "platform/Folders.h"

#include <array>
#include <filesystem>
#include <system_error>

#include "platform/Files.h"
#include "platform/windows/Native.h"

namespace zv {
namespace {

const KNOWNFOLDERID& IdOf(KnownFolder folder) {
    switch (folder) {
        case KnownFolder::Videos:
            return FOLDERID_Videos;
        case KnownFolder::Pictures:
            return FOLDERID_Pictures;
        default:
            return FOLDERID_LocalAppData;
    }
}

Text WithoutTrailingSeparators(Text folder) {
    while (folder.size() > 3 && folder.ends_with(u'\\')) {
        folder.pop_back();
    }
    return folder;
}

}  // namespace

Text FolderOf(KnownFolder folder) {
    PWSTR path = nullptr;
    const HRESULT result = SHGetKnownFolderPath(IdOf(folder), 0, nullptr, &path);
    const Text text = SUCCEEDED(result) ? WithoutTrailingSeparators(TextOf(path)) : Text(u".");
    CoTaskMemFree(path);
    return text;
}

Text CacheFolder() {
    std::array<wchar_t, MAX_PATH + 2> path{};
    const DWORD length = GetTempPathW(MAX_PATH + 1, path.data());
    return length == 0 || length > MAX_PATH + 1 ? Text(u".") : WithoutTrailingSeparators(TextOf(path.data()));
}

/// The temporary folder is the user's own already.
bool CreatePrivateFolder(TextView folder) {
    std::error_code error;
    std::filesystem::create_directories(ToPath(folder), error);
    return !error;
}

}  // namespace zv
