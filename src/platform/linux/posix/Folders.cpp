// Videos and Pictures from the user's XDG folders; the cache from the XDG variable.
#include "platform/Folders.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "core/Utf8.h"
#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/linux/posix/Posix.h"

namespace zv {
namespace {

Text WithoutTrailingSeparators(Text folder) {
    while (folder.size() > 1 && folder.ends_with(pathSeparator)) {
        folder.pop_back();
    }
    return folder;
}

/// The user's folder of that kind. GLib reads "user-dirs.dirs" once.
Text MediaFolder(GUserDirectory directory, TextView usualName) {
    const Text home = EnvironmentValue(u"HOME");
    if (home.empty()) {
        return u".";
    }
    const char* chosen = g_get_user_special_dir(directory);
    return chosen == nullptr ? JoinPath(home, usualName) : WithoutTrailingSeparators(FromUtf8(chosen));
}

}  // namespace

Text FolderOf(KnownFolder folder) {
    switch (folder) {
        case KnownFolder::Videos:
            return MediaFolder(G_USER_DIRECTORY_VIDEOS, u"Videos");
        case KnownFolder::Pictures:
            return MediaFolder(G_USER_DIRECTORY_PICTURES, u"Pictures");
        case KnownFolder::LocalData:
            break;
    }
    const Text local = EnvironmentValue(u"LOCALAPPDATA");
    return local.empty() ? u"." : WithoutTrailingSeparators(local);
}

Text CacheFolder() {
    const Text chosen = EnvironmentValue(u"XDG_CACHE_HOME");
    if (chosen.starts_with(pathSeparator)) {  // a relative value is invalid
        return WithoutTrailingSeparators(chosen);
    }
    const Text home = EnvironmentValue(u"HOME");
    return home.empty() ? u"." : JoinPath(home, u".cache");
}

bool CreatePrivateFolder(TextView folder) {
    const std::filesystem::path path = ToPath(folder);
    std::error_code ignored;
    std::filesystem::create_directories(path.parent_path(), ignored);
    mkdir(path.c_str(), S_IRWXU);
    const Descriptor opened(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    return opened.Held() && fstat(opened.Get(), &status) == 0 && status.st_uid == geteuid() &&
           ((status.st_mode & 07777U) == S_IRWXU || fchmod(opened.Get(), S_IRWXU) == 0);
}

}  // namespace zv
