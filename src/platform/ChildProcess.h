// Child processes that never outlive this one.
//
// A child gets a pipe as its standard input and a new log file as its standard output and error, and inherits no other
// handle. It runs in a job: the child is killed when the job's handle is closed or this process ends for any reason.
// Any thread; one thread uses a child at a time.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/Text.h"
#include "platform/Owned.h"

namespace zv {

struct Process;
struct ProcessInput;  ///< our end of the child's standard input
struct Job;
template <>
void Closer<Process>::operator()(Process* process) const noexcept;
template <>
void Closer<ProcessInput>::operator()(ProcessInput* input) const noexcept;
template <>
void Closer<Job>::operator()(Job* job) const noexcept;

struct ChildOptions {
    Text executable;   ///< full path
    Text commandLine;  ///< whole line, the executable's quoted name first, quoted by the Windows rule on every platform
    Text logPath;      ///< replaced at every start
};

struct Child {
    Owned<Process> process;
    Owned<ProcessInput> input;
    Owned<Job> job;
};

/// Starts a child inside its job. Returns false if it could not be started; `child` then owns nothing and nothing runs.
bool SpawnChild(const ChildOptions& options, Child& child);

/// Returns true until the child has ended. Does not wait.
bool IsRunning(Process& process);

/// Returns true if the child ended within the time.
bool WaitForExit(Process& process, std::uint32_t timeoutMs);

/// The exit code of a child that has ended; 1 if it cannot be read.
std::uint32_t ExitCode(Process& process);

/// Writes to the child's standard input. Ignores failures: the end of a child is noticed by IsRunning.
void WriteInput(ProcessInput& input, std::string_view bytes);

/// Kills every process of the job with exit code 1, without waiting.
void TerminateJob(Job& job);

}  // namespace zv
