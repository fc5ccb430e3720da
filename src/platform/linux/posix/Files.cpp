// Paths are bytes here. The conversion to text and back changes no name, see core/Utf8.h.
#include "platform/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <system_error>

#include "core/Utf8.h"
#include "platform/linux/posix/Posix.h"

namespace zv {
namespace {

Result ResultOfCode(const std::error_code& code) { return code ? ResultOfSystemError(code.value()) : resultOk; }

/// Copies to a temporary name beside the target, so that the target is complete or missing. The move also succeeds if
/// the source cannot be removed afterwards.
Result MoveAcrossVolumes(const std::filesystem::path& from, const std::filesystem::path& to) {
    std::filesystem::path copy = to;
    copy += ".moving-" + std::to_string(getpid());
    std::error_code code;
    std::filesystem::copy_file(from, copy, std::filesystem::copy_options::overwrite_existing, code);
    if (!code) {
        std::error_code ignored;
        const auto written = std::filesystem::last_write_time(from, ignored);
        if (!ignored) {
            std::filesystem::last_write_time(copy, written, ignored);
        }
        std::filesystem::rename(copy, to, code);
    }
    std::error_code ignored;
    std::filesystem::remove(code ? copy : from, ignored);
    return ResultOfCode(code);
}

/// A file's time in units of 100 ns since 1601. Clamps, because some file systems store any number of seconds.
std::int64_t TicksOf(const timespec& time) {
    constexpr std::int64_t ticksPerSecond = 10'000'000;
    constexpr std::int64_t secondsTo1970 = 11'644'473'600;
    constexpr std::int64_t limit = std::numeric_limits<std::int64_t>::max() / ticksPerSecond - secondsTo1970 - 1;
    const std::int64_t seconds = std::clamp<std::int64_t>(time.tv_sec, -limit, limit);
    return (seconds + secondsTo1970) * ticksPerSecond + time.tv_nsec / 100;
}

/// Returns true for the errors that mean that a path names nothing. The last four are those of a mount whose server is
/// gone.
bool IsMissing(int error) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
        case ENOTCONN:
        case ESTALE:
        case EHOSTDOWN:
        case EHOSTUNREACH:
            return true;
        default:
            return false;
    }
}

}  // namespace

const bool namesAreUtf8 = true;

const char16_t pathSeparator = u'/';

std::filesystem::path ToPath(TextView text) { return std::filesystem::path(ToUtf8(text)); }

Text FromPath(const std::filesystem::path& path) { return FromUtf8(path.native()); }

Text JoinPath(TextView folder, TextView name) {
    if (folder.empty() || name.starts_with(pathSeparator)) {
        return Text(name);
    }
    Text joined(folder);
    if (!joined.ends_with(pathSeparator)) {
        joined += pathSeparator;
    }
    return joined.append(name);
}

std::optional<FileFacts> ExamineFile(TextView path) {
    struct stat facts = {};
    // A path object would split the path, which takes longer than the call.
    if (stat(ToUtf8(path).c_str(), &facts) != 0 || !S_ISREG(facts.st_mode)) {
        return std::nullopt;
    }
    return FileFacts{static_cast<std::uint64_t>(facts.st_size), TicksOf(facts.st_mtim)};
}

bool PathExists(TextView path) {
    const std::filesystem::path native = ToPath(path);
    struct stat facts = {};
    const bool found = stat(native.c_str(), &facts) == 0;
    const int error = errno;
    if (!found && !IsMissing(error)) {
        throw std::filesystem::filesystem_error("exists", native, std::error_code(error, std::generic_category()));
    }
    return found;
}

std::error_code CreateFolders(const std::filesystem::path& folder) {
    std::error_code code;
    std::filesystem::create_directories(folder, code);
    return code;
}

bool TryCreateFile(TextView path) {
    const std::filesystem::path native = ToPath(path);
    const Descriptor file(open(native.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    return file.Held() && unlink(native.c_str()) == 0;
}

Result CopyToNewFile(TextView from, TextView to) {
    std::error_code code;
    std::filesystem::copy_file(ToPath(from), ToPath(to), code);
    return ResultOfCode(code);
}

Result MoveFileReplacing(TextView from, TextView to) {
    const std::filesystem::path source = ToPath(from);
    const std::filesystem::path target = ToPath(to);
    if (std::rename(source.c_str(), target.c_str()) == 0) {
        return resultOk;
    }
    return errno == EXDEV ? MoveAcrossVolumes(source, target) : LastError();
}

}  // namespace zv
