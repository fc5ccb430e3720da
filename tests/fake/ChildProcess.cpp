#include "fake/ChildProcess.h"

#include "fake/Calls.h"

namespace zv {

using fake::Call;
using fake::ScriptedChild;

struct Process {
    std::shared_ptr<ScriptedChild> child;
};
struct ProcessInput {
    std::shared_ptr<ScriptedChild> child;
};
struct Job {
    std::shared_ptr<ScriptedChild> child;
};

namespace fake {

ChildProcessControls& TheChildren() {
    static ChildProcessControls controls;
    return controls;
}

void ResetChildren() { TheChildren() = {}; }

ScriptedChild& LastChild() { return *TheChildren().children.back(); }

void EndChild(ScriptedChild& child, std::uint32_t exitCode) {
    if (child.running) {
        child.running = false;
        child.exitCode = exitCode;
    }
}

}  // namespace fake

template <>
void Closer<Process>::operator()(Process* process) const noexcept {
    const Call call("~Process");
    process->child->processHeld = false;
    delete process;
}

template <>
void Closer<ProcessInput>::operator()(ProcessInput* input) const noexcept {
    const Call call("~ProcessInput");
    input->child->inputHeld = false;
    delete input;
}

template <>
void Closer<Job>::operator()(Job* job) const noexcept {
    const Call call("~Job");
    job->child->jobHeld = false;
    fake::EndChild(*job->child, 1);
    delete job;
}

bool SpawnChild(const ChildOptions& options, Child& child) {
    const Call call("SpawnChild");
    if (call.Fails()) {
        return false;
    }
    const auto scripted = std::make_shared<ScriptedChild>();
    scripted->options = options;
    fake::TheChildren().children.push_back(scripted);
    if (fake::TheChildren().onSpawn) {
        fake::TheChildren().onSpawn(*scripted);
    }
    child.process.reset(new Process{scripted});
    child.input.reset(new ProcessInput{scripted});
    child.job.reset(new Job{scripted});
    return true;
}

bool IsRunning(Process& process) {
    const Call call("IsRunning");
    return process.child->running;
}

bool WaitForExit(Process& process, std::uint32_t timeoutMs) {
    const Call call("WaitForExit");
    if (process.child->running) {
        process.child->waits.push_back(timeoutMs);
        if (fake::TheChildren().onWait) {
            fake::TheChildren().onWait(*process.child, timeoutMs);
        }
    }
    return !process.child->running;
}

std::uint32_t ExitCode(Process& process) {
    const Call call("ExitCode");
    return process.child->exitCode;
}

void WriteInput(ProcessInput& input, std::string_view bytes) {
    const Call call("WriteInput");
    input.child->input += bytes;
    if (input.child->exitsOnQuit && bytes == "q\n") {
        fake::EndChild(*input.child, input.child->quitCode);
    }
}

void TerminateJob(Job& job) {
    const Call call("TerminateJob");
    job.child->terminated = true;
    if (job.child->diesOfTerminate) {
        fake::EndChild(*job.child, 1);
    }
}

}  // namespace zv
