// The environment of the process, its executable's folder, and the search path of the shell.
#include "platform/Environment.h"

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "core/Utf8.h"
#include "platform/linux/posix/EnvironmentLock.h"
#include "platform/linux/posix/Posix.h"

namespace zv {
namespace {

std::string RawValue(const char* name) {
    const std::lock_guard guard(EnvironmentLock());
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// The user's folder for the data of programs on this machine.
std::string LocalDataFolder() {
    if (std::string folder = RawValue("XDG_DATA_HOME"); !folder.empty()) {
        return folder;
    }
    const std::string home = RawValue("HOME");
    return home.empty() ? std::string() : home + "/.local/share";
}

bool IsProgram(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(path.c_str(), X_OK) == 0;
}

/// `name` in one folder of the search path. An empty folder is the current one.
std::string ProgramIn(std::string_view folder, const std::string& name) {
    std::error_code code;
    const std::filesystem::path place = std::filesystem::absolute(folder.empty() ? "." : folder, code);
    return code ? std::string() : (place / name).lexically_normal().native();
}

}  // namespace

const char16_t* const ffmpegFileName = u"ffmpeg";

Text EnvironmentValue(TextView name) {
    std::string value = RawValue(ToUtf8(name).c_str());
    if (value.empty() && name == u"LOCALAPPDATA") {
        value = LocalDataFolder();
    }
    return FromUtf8(value);
}

void SetEnvironmentValue(TextView name, TextView value) {
    const std::lock_guard guard(EnvironmentLock());
    setenv(ToUtf8(name).c_str(), ToUtf8(value).c_str(), 1);
}

std::uint32_t OwnProcessId() { return static_cast<std::uint32_t>(getpid()); }

/// Unlike kill, pidfd_open does not find the ids of threads. It fails for other reasons if descriptors are exhausted.
bool IsProcessRunning(std::uint32_t processId) {
    const Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, processId, 0U)));
    return process.Held() || (errno != ESRCH && errno != EINVAL && errno != ENOENT);
}

Text ExecutableFolder() {
    std::error_code code;
    const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", code);
    return FromUtf8(executable.parent_path().native());
}

Text FindOnSearchPath(TextView fileName) {
    const std::string name = ToUtf8(fileName);
    if (name.empty()) {
        return {};
    }
    const std::string searchPath = RawValue("PATH");
    std::string_view rest = searchPath;
    for (bool more = !searchPath.empty(); more;) {
        const std::size_t colon = rest.find(':');
        more = colon != std::string_view::npos;
        const std::string program = ProgramIn(rest.substr(0, colon), name);
        if (IsProgram(program)) {
            return FromUtf8(program);
        }
        rest.remove_prefix(more ? colon + 1 : rest.size());
    }
    return {};
}

}  // namespace zv
