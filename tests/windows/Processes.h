// The processes of this Wine prefix by their program's name, and the handles of this process.
#pragma once

#include <cstdint>
#include <cwchar>
#include <vector>
// After the program's own headers, whose names its macros would change.
#include <windows.h>
//
#include <tlhelp32.h>

namespace zv::windows {

inline std::vector<DWORD> ProcessesNamed(const wchar_t* name) {
    std::vector<DWORD> found;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL more = Process32FirstW(snapshot, &entry); more; more = Process32NextW(snapshot, &entry)) {
        if (_wcsicmp(entry.szExeFile, name) == 0) {
            found.push_back(entry.th32ProcessID);
        }
    }
    CloseHandle(snapshot);
    return found;
}

/// Kills a process, which gets no chance to clean up.
inline bool KillProcess(DWORD id) {
    const HANDLE process = OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, id);
    const bool ended = process != nullptr && TerminateProcess(process, 1) && WaitForSingleObject(process, 30000) == 0;
    CloseHandle(process);
    return ended;
}

/// Suspends all threads of a process, so that it cannot exit by itself.
inline bool FreezeProcess(DWORD id) {
    using Suspend = LONG(WINAPI*)(HANDLE);
    const FARPROC entry = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtSuspendProcess");
    const HANDLE process = OpenProcess(PROCESS_SUSPEND_RESUME, FALSE, id);
    const LONG answer = reinterpret_cast<Suspend>(reinterpret_cast<void*>(entry))(process);
    CloseHandle(process);
    return process != nullptr && answer == 0;
}

/// The number of handles of this process. Tries every value, because Wine does not count them.
inline int OpenHandles() {
    int count = 0;
    for (std::uintptr_t value = 4; value < 0x4000; value += 4) {
        DWORD flags = 0;
        count += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) ? 1 : 0;
    }
    return count;
}

}  // namespace zv::windows
