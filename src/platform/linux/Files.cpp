// Paths are bytes here; see Utf8.cpp for how every name survives being text in between.
#include "platform/Files.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "Posix.h"

namespace zv {
namespace {

Result ResultOfCode(const std::error_code& code) { return code ? ResultOfSystemError(code.value()) : resultOk; }

/// One block at the end of `content`: false when the read failed or gave nothing.
bool ReadBlock(int descriptor, std::string& content) {
    std::array<char, 4096> block;
    ssize_t count = 0;
    do {
        count = read(descriptor, block.data(), block.size());
    } while (count < 0 && errno == EINTR);
    if (count <= 0) {
        return false;
    }
    content.append(block.data(), static_cast<std::size_t>(count));
    return true;
}

/// Copies under a name of its own beside the target, so that the target appears whole or not at all. A source that then
/// cannot be removed stays, and no failure of the move: the target has what it should have.
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

const char16_t pathSeparator = u'/';

std::filesystem::path ToPath(TextView text) { return std::filesystem::path(ToBytes(text)); }

Text FromPath(const std::filesystem::path& path) { return FromBytes(path.native()); }

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

std::string ReadSharedFile(TextView path, std::size_t cap) {
    // O_NONBLOCK: the name may be anything, and opening a FIFO would wait for its writer.
    const Descriptor file(open(ToBytes(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    std::string content;
    if (!file.Held()) {
        return content;
    }
    while (content.size() < cap && ReadBlock(file.Get(), content)) {
    }
    return content;
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
