// Children over vfork and pidfd. The job is the child's process group.
//
// The death signal reaches only the child itself, which may be a script that has started the program proper. So each
// child has a guard: a shell that waits for the end of a pipe, which comes with the end of this process, and then kills
// the group.
//
// A child that has ended is reaped only after its process handle and its job are closed. Until then its process id and
// group id are not reused, so that a kill cannot hit another process.
#include "platform/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include "core/CommandLine.h"
#include "core/Utf8.h"
#include "platform/linux/posix/Posix.h"
#include "platform/linux/posix/Spawner.h"

namespace zv {
namespace {

struct Started {
    pid_t pid = -1;
    Descriptor descriptor;  ///< a pidfd, readable once the child has ended
    pid_t guard = -1;
    Descriptor guardPipe;  ///< our end of the pipe for whose end the guard waits

    Started(pid_t child, Descriptor handle) : pid(child), descriptor(std::move(handle)) {}
    Started(const Started&) = delete;
    Started& operator=(const Started&) = delete;
    /// Kills the guard before its pipe ends and before the child's id is free.
    ~Started() {
        if (guard > 0) {
            kill(guard, SIGKILL);
            Collect(guard);
        }
        Collect(pid);
    }

private:
    static void Collect(pid_t child) {
        if (waitpid(child, nullptr, WNOHANG) == 0) {
            CollectLater(child);
        }
    }
};

bool EndsWithin(const Started& child, std::uint32_t timeoutMs) {
    const Deadline deadline(timeoutMs);
    pollfd entry{child.descriptor.Get(), POLLIN, 0};
    int ready = 0;
    do {
        ready = poll(&entry, 1, deadline.RemainingMs());
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

/// Kills the child, which may have left its group, and the rest of the group.
void KillGroup(const Started& child) {
    kill(-child.pid, SIGKILL);
    syscall(SYS_pidfd_send_signal, child.descriptor.Get(), SIGKILL, nullptr, 0U);
}

/// Duplicates a descriptor to a number above the standard ones, so that assigning the standard ones does not close it.
Descriptor AboveStandard(Descriptor descriptor) {
    if (descriptor.Get() > 2 || !descriptor.Held()) {
        return descriptor;
    }
    return Descriptor(fcntl(descriptor.Get(), F_DUPFD_CLOEXEC, 3));
}

struct InputPipe {
    Descriptor readEnd;
    Descriptor writeEnd;
};

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

Descriptor MakeLog(TextView path) {
    constexpr mode_t readableByAll = 0644;
    return AboveStandard(
        Descriptor(open(ToUtf8(path).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, readableByAll)));
}

pid_t Start(const ChildOptions& options, int input, int log) {
    std::vector<std::string> arguments;
    for (const Text& argument : SplitCommandLine(options.commandLine)) {
        arguments.push_back(ToUtf8(argument));
    }
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    const std::string path = ToUtf8(options.executable);
    SpawnPlan plan;
    plan.path = path.c_str();
    plan.arguments = pointers.data();
    plan.input = input;
    plan.log = log;
    return SpawnFromPermanentThread(plan);
}

/// Returns false if the guard cannot be started.
bool StartGuard(Started& child, int log) {
    InputPipe pipe;
    if (!MakeInputPipe(pipe)) {
        return false;
    }
    std::string shell = "sh";
    std::string option = "-c";
    std::string script = "read -r line; kill -9 -$0 2>/dev/null";
    std::string group = std::to_string(child.pid);
    char* const arguments[] = {shell.data(), option.data(), script.data(), group.data(), nullptr};
    SpawnPlan plan;
    plan.path = "/bin/sh";
    plan.arguments = arguments;
    plan.input = pipe.readEnd.Get();
    plan.log = log;
    plan.outlivesUs = true;
    child.guard = SpawnFromPermanentThread(plan);
    child.guardPipe = std::move(pipe.writeEnd);
    return child.guard > 0;
}

/// Returns null if the system is out of descriptors; the child is then killed.
std::shared_ptr<Started> OpenStarted(pid_t pid) {
    Descriptor descriptor(static_cast<int>(syscall(SYS_pidfd_open, pid, 0U)));
    if (!descriptor.Held()) {
        kill(-pid, SIGKILL);
        CollectLater(pid);
        return nullptr;
    }
    return std::make_shared<Started>(pid, std::move(descriptor));
}

}  // namespace

struct Process {
    std::shared_ptr<Started> child;
};

struct Job {
    std::shared_ptr<Started> child;
};

struct ProcessInput {
    Descriptor writeEnd;
};

template <>
void Closer<Process>::operator()(Process* process) const noexcept {
    delete process;
}

template <>
void Closer<ProcessInput>::operator()(ProcessInput* input) const noexcept {
    delete input;
}

template <>
void Closer<Job>::operator()(Job* job) const noexcept {
    KillGroup(*job->child);
    delete job;
}

bool SpawnChild(const ChildOptions& options, Child& child) {
    child = Child{};
    IgnoreBrokenPipes();
    InputPipe input;
    if (!MakeInputPipe(input)) {
        return false;
    }
    const Descriptor log = MakeLog(options.logPath);
    if (!log.Held()) {
        return false;
    }
    const pid_t pid = Start(options, input.readEnd.Get(), log.Get());
    const std::shared_ptr<Started> started = pid > 0 ? OpenStarted(pid) : nullptr;
    if (!started) {
        return false;
    }
    if (!StartGuard(*started, log.Get())) {
        KillGroup(*started);
        return false;
    }
    child.process.reset(new Process{started});
    child.input.reset(new ProcessInput{std::move(input.writeEnd)});
    child.job.reset(new Job{started});
    return true;
}

bool IsRunning(Process& process) { return !EndsWithin(*process.child, 0); }

bool WaitForExit(Process& process, std::uint32_t timeoutMs) { return EndsWithin(*process.child, timeoutMs); }

std::uint32_t ExitCode(Process& process) {
    siginfo_t information{};
    const auto descriptor = static_cast<id_t>(process.child->descriptor.Get());
    const bool read = waitid(P_PIDFD, descriptor, &information, WEXITED | WNOHANG | WNOWAIT) == 0;
    return read && information.si_code == CLD_EXITED ? static_cast<std::uint32_t>(information.si_status) : 1;
}

void WriteInput(ProcessInput& input, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(input.writeEnd.Get(), bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

void TerminateJob(Job& job) { KillGroup(*job.child); }

}  // namespace zv
