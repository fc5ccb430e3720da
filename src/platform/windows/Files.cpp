// Paths are UTF-16 like Text, so conversion in both directions changes no name.
//
// Files are examined through handles. The standard library reads the entry of the folder instead. NTFS updates that
// only when a writer closes the file, the root of a network share has none, and every failure counts as a missing file.
#include "platform/Files.h"

#include "platform/windows/Native.h"

namespace zv {
namespace {

bool IsSeparator(char16_t unit) { return unit == u'\\' || unit == u'/'; }

/// Returns true if the name begins with a drive, a root or a share.
bool IsAbsolute(TextView name) {
    return (!name.empty() && IsSeparator(name[0])) || (name.size() > 1 && name[1] == u':');
}

/// Opens a file or folder to examine it. Succeeds no matter how others have opened it, and shares everything.
Handle OpenToExamine(TextView path) {
    return Handle(CreateFileW(Native(Text(path)), FILE_READ_ATTRIBUTES,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                              FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

/// Returns true for the errors that mean that a path names nothing.
bool IsMissing(DWORD error) {
    switch (error) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
        case ERROR_BAD_NETPATH:
        case ERROR_NETNAME_DELETED:
        case ERROR_INVALID_NAME:
        case ERROR_BAD_PATHNAME:
        case ERROR_DIRECTORY:
            return true;
        default:
            return false;
    }
}

}  // namespace

const bool namesAreUtf8 = false;

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

std::optional<FileFacts> ExamineFile(TextView path) {
    const Handle file = OpenToExamine(path);
    BY_HANDLE_FILE_INFORMATION facts = {};
    if (!file || !GetFileInformationByHandle(file.Get(), &facts) ||
        (facts.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return std::nullopt;
    }
    return FileFacts{Joined(facts.nFileSizeHigh, facts.nFileSizeLow), TicksOf(facts.ftLastWriteTime)};
}

bool PathExists(TextView path) {
    const bool opened = static_cast<bool>(OpenToExamine(path));
    const DWORD error = GetLastError();
    if (!opened && !IsMissing(error)) {
        throw std::filesystem::filesystem_error("exists", ToPath(path),
                                                std::error_code(static_cast<int>(error), std::system_category()));
    }
    return opened;
}

std::error_code CreateFolders(const std::filesystem::path& folder) {
    if (CreateDirectoryW(folder.c_str(), nullptr)) {
        return {};
    }
    DWORD error = GetLastError();
    const std::filesystem::path parent = folder.parent_path();
    if (error == ERROR_PATH_NOT_FOUND && !parent.empty() && parent != folder && !CreateFolders(parent)) {
        if (CreateDirectoryW(folder.c_str(), nullptr)) {
            return {};
        }
        error = GetLastError();
    }
    const DWORD attributes = GetFileAttributesW(folder.c_str());
    const bool exists = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return exists ? std::error_code() : std::error_code(static_cast<int>(error), std::system_category());
}

bool TryCreateFile(TextView path) {
    constexpr DWORD notShared = 0;
    const Handle file(CreateFileW(Native(Text(path)), GENERIC_WRITE, notShared, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    return static_cast<bool>(file);
}

Result CopyToNewFile(TextView from, TextView to) {
    const BOOL failIfExists = TRUE;
    return CopyFileW(Native(Text(from)), Native(Text(to)), failIfExists) ? resultOk : LastError();
}

Result MoveFileReplacing(TextView from, TextView to) {
    const DWORD flags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED;
    return MoveFileExW(Native(Text(from)), Native(Text(to)), flags) ? resultOk : LastError();
}

}  // namespace zv
