// Paths are the system's own UTF-16, so that every name survives the way there and back.
#include "platform/Files.h"

#include <array>

#include "platform/windows/Native.h"

namespace zv {
namespace {

bool IsSeparator(char16_t unit) { return unit == u'\\' || unit == u'/'; }

/// A name that begins with a drive, a root or a share.
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

std::string ReadSharedFile(TextView path, std::size_t cap) {
    const Handle file(CreateFileW(Native(Text(path)), GENERIC_READ,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    std::string content;
    std::array<char, 4096> block;
    DWORD count = 0;
    while (file && content.size() < cap && ReadFile(file.Get(), block.data(), block.size(), &count, nullptr) &&
           count > 0) {
        content.append(block.data(), count);
    }
    return content;
}

Result MoveFileReplacing(TextView from, TextView to) {
    const DWORD flags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED;
    return MoveFileExW(Native(Text(from)), Native(Text(to)), flags) ? resultOk : LastError();
}

}  // namespace zv
