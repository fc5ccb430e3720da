// The C library's _wstat64, which the standard library uses, as it behaves on Windows: it reads the entry of the
// folder. On NTFS that has the size from before a writer opened the file, and the root of a network share is an entry
// of no folder. Wine examines the file itself.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>
#include <string_view>

namespace zv::windows {

/// Returns true if somebody has opened the file for writing.
inline bool IsOpenForWriting(const wchar_t* path) {
    const HANDLE file =
        CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return GetLastError() == ERROR_SHARING_VIOLATION;
    }
    CloseHandle(file);
    return false;
}

/// Returns true for a path like \\server\share.
inline bool IsShareRoot(std::wstring_view path) {
    const std::size_t separator = path.starts_with(L"\\\\") ? path.find(L'\\', 2) : std::wstring_view::npos;
    return separator != std::wstring_view::npos && path.find(L'\\', separator + 1) == std::wstring_view::npos;
}

inline int StatOfEntry(const wchar_t* path, struct _stat64* facts) {
    using Function = int(const wchar_t*, struct _stat64*);
    static const auto real = reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"msvcrt.dll"), "_wstat64")));
    if (IsShareRoot(path)) {
        errno = ENOENT;
        return -1;
    }
    const int result = real(path, facts);
    if (result == 0 && (facts->st_mode & _S_IFREG) != 0 && IsOpenForWriting(path)) {
        facts->st_size = 0;
    }
    return result;
}

}  // namespace zv::windows
