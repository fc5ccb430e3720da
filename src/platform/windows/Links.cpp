#include "platform/Links.h"

#include "platform/Files.h"
#include "platform/windows/Native.h"

namespace zv {
namespace {

bool OpenInShell(const Text& target) {
    constexpr INT_PTR lastError = 32;
    const HINSTANCE answer = ShellExecuteW(nullptr, L"open", Native(target), nullptr, nullptr, SW_SHOWNORMAL);
    return reinterpret_cast<INT_PTR>(answer) > lastError;
}

bool IsFolder(const Text& path) {
    const DWORD attributes = GetFileAttributesW(Native(path));
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace

bool OpenLink(TextView address) { return IsWebAddress(address) && OpenInShell(Text(address)); }

/// The shell would open a program of the same name instead, unless a separator ends the path.
bool OpenFolderInDesktop(TextView path) {
    Text folder(path);
    if (!IsFolder(folder)) {
        return false;
    }
    if (folder.back() != pathSeparator && folder.back() != u'/') {
        folder += pathSeparator;
    }
    return OpenInShell(folder);
}

}  // namespace zv
