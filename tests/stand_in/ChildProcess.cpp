#include "stand_in/ChildProcess.h"

#include "stand_in/Calls.h"

namespace zv {

using stand_in::Call;
using stand_in::ScriptedChild;

struct Process {
    std::shared_ptr<ScriptedChild> child;
};
struct ProcessInput {
    std::shared_ptr<ScriptedChild> child;
};
struct Job {
    std::shared_ptr<ScriptedChild> child;
};

namespace stand_in {

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

}  // namespace stand_in

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
    stand_in::EndChild(*job->child, 1);
    delete job;
}

bool SpawnChild(const ChildOptions& options, Child& child) {
    const Call call("SpawnChild");
    if (call.Fails()) {
        return false;
    }
    const auto scripted = std::make_shared<ScriptedChild>();
    scripted->options = options;
    stand_in::TheChildren().children.push_back(scripted);
    if (stand_in::TheChildren().onSpawn) {
        stand_in::TheChildren().onSpawn(*scripted);
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
        if (stand_in::TheChildren().onWait) {
            stand_in::TheChildren().onWait(*process.child, timeoutMs);
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
    if (input.child->obeysQuit && bytes == "q\n") {
        stand_in::EndChild(*input.child, input.child->quitCode);
    }
}

void TerminateJob(Job& job) {
    const Call call("TerminateJob");
    job.child->terminated = true;
    if (job.child->diesOfTerminate) {
        stand_in::EndChild(*job.child, 1);
    }
}

}  // namespace zv
