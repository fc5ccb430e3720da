// Child processes that never outlive this one.
//
// A child has a pipe as its standard input and a new log file as its standard output and error. It inherits no other
// handle. It runs in a job: the child is killed when the job's handle is closed or when this process ends for any
// reason. Any thread; one thread uses a child at a time.
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
    Text commandLine;  ///< begins with the executable's name; quoted by the Windows rule on every platform
    Text logPath;      ///< overwritten
};

struct Child {
    Owned<Process> process;
    Owned<ProcessInput> input;
    Owned<Job> job;
};

/// Starts a child inside its job. Returns false on failure; then no process runs and `child` owns nothing.
bool SpawnChild(const ChildOptions& options, Child& child);

/// Returns true if the child has not ended. Does not wait.
bool IsRunning(Process& process);

/// Returns true if the child ended within the time.
bool WaitForExit(Process& process, std::uint32_t timeoutMs);

/// Returns the exit code of a child that has ended; 1 if it cannot be read.
std::uint32_t ExitCode(Process& process);

/// Writes to the child's standard input. Ignores failures: IsRunning detects a child that has ended.
void WriteInput(ProcessInput& input, std::string_view bytes);

/// Kills every process of the job with exit code 1, without waiting.
void TerminateJob(Job& job);

}  // namespace zv
