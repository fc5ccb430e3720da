// Paths are UTF-16 like Text, so conversion in both directions changes no name.
#include "platform/Files.h"

#include "platform/windows/Native.h"

namespace zv {
namespace {

bool IsSeparator(char16_t unit) { return unit == u'\\' || unit == u'/'; }

/// Returns true if the name begins with a drive, a root or a share.
bool IsAbsolute(TextView name) {
    return (!name.empty() && IsSeparator(name[0])) || (name.size() > 1 && name[1] == u':');
}

}  // namespace

const char16_t pathSeparator = u'\\';

std::filesystem::path ToPath(TextView text) { return std::filesystem::path(std::wstring(text.begin(), text.end())); }

Text FromPath(const std::filesystem::path& path) { return TextOf(path.native()); }

Text JoinPath(TextView folder, TextView name) {
    if (folder.empty() || IsAbsolute(name)) {
        return Text(name);
    }
    Text joined(folder);
    if (!IsSeparator(joined.back())) {
        joined += pathSeparator;
    }
    return joined.append(name);
}

Result MoveFileReplacing(TextView from, TextView to) {
    const DWORD flags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED;
    return MoveFileExW(Native(Text(from)), Native(Text(to)), flags) ? resultOk : LastError();
}

}  // namespace zv
