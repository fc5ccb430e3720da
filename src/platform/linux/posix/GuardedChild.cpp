// Children over vfork and pidfd.
#include "platform/linux/posix/GuardedChild.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <utility>

namespace zv {
namespace {

void ReapOrCollectLater(pid_t child) {
    if (waitpid(child, nullptr, WNOHANG) == 0) {
        CollectLater(child);
    }
}

/// Returns null if the system is out of descriptors; the child is then killed.
std::shared_ptr<GuardedChild> OpenChild(pid_t pid) {
    Descriptor descriptor(static_cast<int>(syscall(SYS_pidfd_open, pid, 0U)));
    if (!descriptor.Held()) {
        kill(-pid, SIGKILL);
        CollectLater(pid);
        return nullptr;
    }
    return std::make_shared<GuardedChild>(pid, std::move(descriptor));
}

}  // namespace

bool MakeInputPipe(InputPipe& input) {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    input.readEnd = AboveStandard(Descriptor(ends[0]));
    input.writeEnd = AboveStandard(Descriptor(ends[1]));
    // A child that does not read its input must not block the request to quit.
    return input.readEnd.Held() && input.writeEnd.Held() && fcntl(input.writeEnd.Get(), F_SETFL, O_NONBLOCK) == 0;
}

std::shared_ptr<GuardedChild> GuardedChild::Start(SpawnPlan plan) {
    const int errors = plan.errors;
    const pid_t pid = SpawnFromPermanentThread(std::move(plan));
    std::shared_ptr<GuardedChild> child = pid > 0 ? OpenChild(pid) : nullptr;
    if (child && !child->StartGuard(errors)) {
        child->Kill();
        return nullptr;
    }
    return child;
}

/// Kills the guard before its pipe ends and before the child's id is free.
GuardedChild::~GuardedChild() {
    if (guard_ > 0) {
        kill(guard_, SIGKILL);
        ReapOrCollectLater(guard_);
    }
    ReapOrCollectLater(pid_);
}

bool GuardedChild::EndsWithin(std::uint32_t timeoutMs) const {
    const Deadline deadline(timeoutMs);
    pollfd entry{descriptor_.Get(), POLLIN, 0};
    int ready = 0;
    do {
        ready = poll(&entry, 1, deadline.RemainingMs());
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

std::uint32_t GuardedChild::ExitCode() const {
    siginfo_t information{};
    const auto descriptor = static_cast<id_t>(descriptor_.Get());
    const bool read = waitid(P_PIDFD, descriptor, &information, WEXITED | WNOHANG | WNOWAIT) == 0;
    return read && information.si_code == CLD_EXITED ? static_cast<std::uint32_t>(information.si_status) : 1;
}

void GuardedChild::Kill() const {
    kill(-pid_, SIGKILL);
    syscall(SYS_pidfd_send_signal, descriptor_.Get(), SIGKILL, nullptr, 0U);
}

/// Returns false if the guard cannot be started.
bool GuardedChild::StartGuard(int errors) {
    InputPipe pipe;
    if (!MakeInputPipe(pipe)) {
        return false;
    }
    SpawnPlan plan;
    plan.path = "/bin/sh";
    plan.arguments = {"sh", "-c", "read -r line; kill -9 -$0 2>/dev/null", std::to_string(pid_)};
    plan.input = pipe.readEnd.Get();
    plan.output = errors;
    plan.errors = errors;
    plan.outlivesUs = true;
    guard_ = SpawnFromPermanentThread(std::move(plan));
    guardPipe_ = std::move(pipe.writeEnd);
    return guard_ > 0;
}

}  // namespace zv
