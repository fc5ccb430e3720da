// Children that run until they are asked to end, over GuardedChild. The job is the child's process group.
#include "platform/ChildProcess.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/CommandLine.h"
#include "core/Utf8.h"
#include "platform/linux/posix/GuardedChild.h"

namespace zv {
namespace {

Descriptor MakeLog(TextView path) {
    constexpr mode_t readableByAll = 0644;
    return AboveStandard(
        Descriptor(open(ToUtf8(path).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, readableByAll)));
}

std::shared_ptr<GuardedChild> Start(const ChildOptions& options, int input, int log) {
    SpawnPlan plan;
    plan.path = ToUtf8(options.executable);
    for (const Text& argument : SplitCommandLine(options.commandLine)) {
        plan.arguments.push_back(ToUtf8(argument));
    }
    plan.input = input;
    plan.output = log;
    plan.errors = log;
    return GuardedChild::Start(std::move(plan));
}

}  // namespace

struct Process {
    std::shared_ptr<GuardedChild> child;
};

struct Job {
    std::shared_ptr<GuardedChild> child;
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
    job->child->Kill();
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
    const std::shared_ptr<GuardedChild> started = Start(options, input.readEnd.Get(), log.Get());
    if (!started) {
        return false;
    }
    child.process.reset(new Process{started});
    child.input.reset(new ProcessInput{std::move(input.writeEnd)});
    child.job.reset(new Job{started});
    return true;
}

bool IsRunning(Process& process) { return !process.child->EndsWithin(0); }

bool WaitForExit(Process& process, std::uint32_t timeoutMs) { return process.child->EndsWithin(timeoutMs); }

std::uint32_t ExitCode(Process& process) { return process.child->ExitCode(); }

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

void TerminateJob(Job& job) { job.child->Kill(); }

}  // namespace zv
