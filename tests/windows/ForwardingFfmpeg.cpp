// Runs an FFmpeg that is older than the one that the program's command lines are written for.
//
// Passes its command line to the program named by ZV_TEST_FFMPEG, without the options that an old FFmpeg does not
// support: same handles, same job, same exit code. Appends the original line, as UTF-8, to the file named by
// ZV_TEST_COMMANDS. If ZV_TEST_LINGER_MS is set, it exits when it is asked to quit, or after that many milliseconds.
//
// If the file named by ZV_TEST_SCRIPT has a line "set reader PLAN", it starts no FFmpeg, misbehaves as a reader and
// runs until it is asked to quit. PLAN is one of
//   idle           does not open its first input
//   leave BYTES    reads BYTES bytes of it and closes it
//   leave full     closes it once the pipe is full
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

/// An old FFmpeg finds the files of a list beside the list only if the list's path has slashes.
void UseSlashesInListPath(std::wstring& line) {
    const std::wstring option = L"-f concat -safe 1 -i \"";
    const std::size_t at = line.find(option);
    if (at != std::wstring::npos) {
        const std::size_t begin = at + option.size();
        std::replace(line.begin() + static_cast<std::ptrdiff_t>(begin),
                     line.begin() + static_cast<std::ptrdiff_t>(line.find(L'"', begin)), L'\\', L'/');
    }
}

std::wstring ReaderPlan() {
    const HANDLE file = CreateFileW(Variable(L"ZV_TEST_SCRIPT").c_str(), GENERIC_READ,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    std::string content(65536, '\0');
    DWORD size = 0;
    content.resize(ReadFile(file, content.data(), static_cast<DWORD>(content.size()), &size, nullptr) ? size : 0);
    CloseHandle(file);
    const std::string words = "set reader ";
    const std::size_t at = content.find(words);
    if (at == std::string::npos) {
        return {};
    }
    const std::size_t begin = at + words.size();
    const std::string plan = content.substr(begin, content.find('\n', begin) - begin);
    return {plan.begin(), plan.end()};
}

HANDLE OpenFirstInput(const std::wstring& line) {
    const std::size_t begin = line.find(L'"', line.find(L" -i ")) + 1;
    const std::wstring name = line.substr(begin, line.find(L'"', begin) - begin);
    return CreateFileW(name.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
}

DWORD Waiting(HANDLE pipe) {
    DWORD bytes = 0;
    PeekNamedPipe(pipe, nullptr, 0, nullptr, &bytes, nullptr);
    return bytes;
}

void WaitUntilFull(HANDLE pipe) {
    constexpr DWORD steadyMs = 1000;
    DWORD before = 0;
    for (DWORD steady = 0; before == 0 || steady < steadyMs; steady += 50) {
        Sleep(50);
        const DWORD now = Waiting(pipe);
        steady = now == before ? steady : 0;
        before = now;
    }
}

void ReadBytes(HANDLE pipe, unsigned long count) {
    char bytes[4096];
    DWORD size = 0;
    for (unsigned long all = 0; all < count && ReadFile(pipe, bytes, sizeof(bytes), &size, nullptr); all += size) {
    }
}

/// Waits until the program asks it to quit, or closes its standard input.
void Linger(unsigned long limitMs) {
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    DWORD bytes = 0;
    for (unsigned long waited = 0; waited < limitMs; waited += 10) {
        if (PeekNamedPipe(input, nullptr, 0, nullptr, &bytes, nullptr) == FALSE || bytes != 0) {
            return;
        }
        Sleep(10);
    }
}

int Misbehave(const std::wstring& plan, const std::wstring& line) {
    if (plan != L"idle") {
        const HANDLE pipe = OpenFirstInput(line);
        if (plan == L"leave full") {
            WaitUntilFull(pipe);
        } else {
            ReadBytes(pipe, wcstoul(plan.c_str() + wcslen(L"leave "), nullptr, 10));
        }
        CloseHandle(pipe);
    }
    char asked = 0;
    DWORD size = 0;
    ReadFile(GetStdHandle(STD_INPUT_HANDLE), &asked, 1, &size, nullptr);
    return 0;
}

}  // namespace

extern "C" int wmain() {
    std::wstring line = GetCommandLineW();
    Record(line);
    if (const std::wstring plan = ReaderPlan(); !plan.empty()) {
        return Misbehave(plan, line);
    }
    Drop(line, L"-avioflags direct ");  // loses the bytes that it probes
    Drop(line, L"-stats_period 0.5 ");  // unknown; it reports twice a second anyway
    UseSlashesInListPath(line);
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
    Linger(wcstoul(Variable(L"ZV_TEST_LINGER_MS").c_str(), nullptr, 10));
    return static_cast<int>(code);
}
