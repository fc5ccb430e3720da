// Videos and Pictures from the user's XDG folders; temporary files where TMPDIR says.
#include "platform/Folders.h"

#include <string>
#include <string_view>

#include "core/Utf8.h"
#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/linux/posix/UserFolders.h"

namespace zv {
namespace {

Text WithoutTrailingSeparators(Text folder) {
    while (folder.size() > 1 && folder.ends_with(pathSeparator)) {
        folder.pop_back();
    }
    return folder;
}

std::string UserFolderFile(TextView home) {
    constexpr std::size_t cap = 0x10000;
    Text folder = EnvironmentValue(u"XDG_CONFIG_HOME");
    if (folder.empty()) {
        folder = JoinPath(home, u".config");
    }
    return ReadSharedFile(JoinPath(folder, u"user-dirs.dirs"), cap);
}

Text MediaFolder(std::string_view key, TextView usualName) {
    const Text home = EnvironmentValue(u"HOME");
    if (home.empty()) {
        return u".";
    }
    const std::string chosen = UserFolderFrom(UserFolderFile(home), key, ToUtf8(home));
    return chosen.empty() ? JoinPath(home, usualName) : FromUtf8(chosen);
}

}  // namespace

Text FolderOf(KnownFolder folder) {
    switch (folder) {
        case KnownFolder::Videos:
            return MediaFolder("XDG_VIDEOS_DIR", u"Videos");
        case KnownFolder::Pictures:
            return MediaFolder("XDG_PICTURES_DIR", u"Pictures");
        case KnownFolder::LocalData:
            break;
    }
    const Text local = EnvironmentValue(u"LOCALAPPDATA");
    return local.empty() ? u"." : WithoutTrailingSeparators(local);
}

Text TemporaryFolder() {
    const Text folder = EnvironmentValue(u"TMPDIR");
    return folder.empty() ? u"/tmp" : WithoutTrailingSeparators(folder);
}

}  // namespace zv
