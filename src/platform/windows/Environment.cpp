// The environment of the process, its executable's folder, and the search path for programs.
#include "platform/Environment.h"

#include <string>

#include "platform/windows/Native.h"

namespace zv {
namespace {

/// The longest path or value of a variable, including the terminating null.
constexpr DWORD longestText = 32768;

}  // namespace

const char16_t* const ffmpegFileName = u"ffmpeg.exe";

Text EnvironmentValue(TextView name) {
    std::wstring value(longestText, L'\0');
    const DWORD length = GetEnvironmentVariableW(Native(Text(name)), value.data(), longestText);
    value.resize(length < longestText ? length : 0);
    return TextOf(value);
}

void SetEnvironmentValue(TextView name, TextView value) {
    SetEnvironmentVariableW(Native(Text(name)), Native(Text(value)));
}

std::uint32_t OwnProcessId() { return GetCurrentProcessId(); }

/// An id without a process is an invalid parameter. A handle of our own can keep the id of an ended process.
bool IsProcessRunning(std::uint32_t processId) {
    const Handle process(OpenProcess(SYNCHRONIZE, FALSE, processId));
    return process ? WaitForSingleObject(process.Get(), 0) == WAIT_TIMEOUT : GetLastError() != ERROR_INVALID_PARAMETER;
}

Text ExecutableFolder() {
    std::wstring path(longestText, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), longestText));
    const std::size_t separator = path.find_last_of(L"\\/");
    path.resize(separator == std::wstring::npos ? 0 : separator);
    return TextOf(path);
}

Text FindOnSearchPath(TextView fileName) {
    std::wstring path(longestText, L'\0');
    const DWORD length = SearchPathW(nullptr, Native(Text(fileName)), nullptr, longestText, path.data(), nullptr);
    path.resize(length < longestText ? length : 0);
    return TextOf(path);
}

}  // namespace zv
