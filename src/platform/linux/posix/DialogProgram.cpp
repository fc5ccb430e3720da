#include "platform/linux/posix/DialogProgram.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <utility>

#include "core/Utf8.h"
#include "platform/Environment.h"
#include "platform/linux/posix/Spawner.h"

namespace zv {
namespace {

/// What is in the pipe. A path is shorter than a pipe's buffer, so the program has written all of it.
std::string ReadAll(int pipe) {
    std::string bytes;
    std::array<char, 4096> block{};
    for (ssize_t count = 0; (count = read(pipe, block.data(), block.size())) > 0;) {
        bytes.append(block.data(), static_cast<std::size_t>(count));
    }
    return bytes;
}

}  // namespace

DialogProgram::~DialogProgram() {
    if (pid_ > 0) {
        kill(-pid_, SIGKILL);
        CollectLater(pid_);
    }
}

bool DialogProgram::Start(std::vector<std::string> arguments) {
    const std::string path = ToUtf8(FindOnSearchPath(FromUtf8(arguments.front())));
    int ends[2] = {-1, -1};
    if (path.empty() || pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        return false;
    }
    output_ = Descriptor(ends[0]);
    const Descriptor written = AboveStandard(Descriptor(ends[1]));
    const Descriptor nothing = AboveStandard(Descriptor(open("/dev/null", O_RDWR | O_CLOEXEC)));
    if (!written.Held() || !nothing.Held()) {
        return false;
    }
    SpawnPlan plan;
    plan.path = path;
    plan.arguments = std::move(arguments);
    plan.input = nothing.Get();
    plan.output = written.Get();
    plan.errors = nothing.Get();
    pid_ = SpawnFromPermanentThread(std::move(plan));
    end_ = Descriptor(pid_ > 0 ? static_cast<int>(syscall(SYS_pidfd_open, pid_, 0U)) : -1);
    return end_.Held();
}

bool DialogProgram::HasEnded() const {
    pollfd entry{end_.Get(), POLLIN, 0};
    return poll(&entry, 1, 0) > 0;
}

std::optional<std::string> DialogProgram::Output() {
    int status = 0;
    if (pid_ < 0 || waitpid(pid_, &status, WNOHANG) != pid_) {
        return std::nullopt;
    }
    pid_ = -1;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        return std::nullopt;
    }
    std::string bytes = ReadAll(output_.Get());
    if (bytes.ends_with('\n')) {
        bytes.pop_back();
    }
    return bytes;
}

}  // namespace zv
