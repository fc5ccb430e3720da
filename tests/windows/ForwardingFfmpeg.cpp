// Stands in front of an FFmpeg that is older than the one that the program's command lines are made for.
//
// Hands its command line on to the program that ZV_TEST_FFMPEG names, without what an old FFmpeg stumbles over: same
// handles, same job, exit code passed on. Adds the line that it was given, as UTF-8, to the file that ZV_TEST_COMMANDS
// names. Where ZV_TEST_LINGER_MS has a number, it takes so much longer to end.
#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cwchar>
#include <string>

extern "C" int wmain();

namespace {

std::wstring Variable(const wchar_t* name) {
    std::wstring value(32768, L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), 32768));
    return value;
}

void Record(const std::wstring& line) {
    const std::wstring path = Variable(L"ZV_TEST_COMMANDS");
    if (path.empty()) {
        return;
    }
    std::string bytes(line.size() * 3 + 1, '\0');
    const int size = WideCharToMultiByte(CP_UTF8, 0, line.c_str(), static_cast<int>(line.size()), bytes.data(),
                                         static_cast<int>(bytes.size()), nullptr, nullptr);
    bytes.resize(static_cast<std::size_t>(size));
    bytes += '\n';
    const HANDLE file = CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    CloseHandle(file);
}

void Drop(std::wstring& line, const std::wstring& flag) {
    for (std::size_t at = line.find(flag); at != std::wstring::npos; at = line.find(flag)) {
        line.erase(at, flag.size());
    }
}

/// Finds the files of a list beside the list only when the list's own path has slashes.
void TurnListPath(std::wstring& line) {
    const std::wstring option = L"-f concat -safe 1 -i \"";
    const std::size_t at = line.find(option);
    if (at != std::wstring::npos) {
        const std::size_t begin = at + option.size();
        std::replace(line.begin() + static_cast<std::ptrdiff_t>(begin),
                     line.begin() + static_cast<std::ptrdiff_t>(line.find(L'"', begin)), L'\\', L'/');
    }
}

}  // namespace

extern "C" int wmain() {
    std::wstring line = GetCommandLineW();
    Record(line);
    Drop(line, L"-avioflags direct ");  // it loses the bytes that it probes
    Drop(line, L"-stats_period 0.5 ");  // it does not know it, and reports twice a second anyway
    TurnListPath(line);
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION made{};
    if (!CreateProcessW(Variable(L"ZV_TEST_FFMPEG").c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                        &startup, &made)) {
        return 121;
    }
    WaitForSingleObject(made.hProcess, INFINITE);
    DWORD code = 122;
    GetExitCodeProcess(made.hProcess, &code);
    Sleep(static_cast<DWORD>(wcstoul(Variable(L"ZV_TEST_LINGER_MS").c_str(), nullptr, 10)));
    return static_cast<int>(code);
}
