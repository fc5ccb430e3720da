// Paths are bytes here. The conversion to text and back changes no name, see core/Utf8.h.
#include "platform/Files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

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
    if (stat(ToPath(path).c_str(), &facts) != 0 || !S_ISREG(facts.st_mode)) {
        return std::nullopt;
    }
    return FileFacts{static_cast<std::uint64_t>(facts.st_size),
                     static_cast<std::int64_t>(facts.st_mtim.tv_sec) * 1'000'000'000 + facts.st_mtim.tv_nsec};
}

bool PathExists(TextView path) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(ToPath(path), error);
    if (!std::filesystem::status_known(status)) {
        throw std::filesystem::filesystem_error("exists", ToPath(path), error);
    }
    return std::filesystem::exists(status);
}

std::error_code CreateFolders(const std::filesystem::path& folder) {
    std::error_code code;
    std::filesystem::create_directories(folder, code);
    return code;
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
