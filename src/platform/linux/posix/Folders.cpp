// Videos and Pictures from the user's XDG folders; the temporary folder from TMPDIR.
#include "platform/Folders.h"

#include <glib.h>

#include "core/Utf8.h"
#include "platform/Environment.h"
#include "platform/Files.h"

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

Text TemporaryFolder() {
    const Text folder = EnvironmentValue(u"TMPDIR");
    return folder.empty() ? u"/tmp" : WithoutTrailingSeparators(folder);
}

}  // namespace zv
