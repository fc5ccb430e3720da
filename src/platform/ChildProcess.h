// Child processes that never outlive this one.
//
// A child gets a pipe as its standard input, a fresh log file as its standard output and error, nothing else of
// ours, and a job: when the job's handle closes, or this process ends in whatever way, the child is killed.
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

/// Starts a child that only ever runs inside its job. On false nothing is held and nothing runs.
bool SpawnChild(const ChildOptions& options, Child& child);

/// True as long as the child has not ended. Never waits.
bool IsRunning(Process& process);

/// True when the child ended within the time.
bool WaitForExit(Process& process, std::uint32_t timeoutMs);

/// The exit code of a child that has ended; 1 when it cannot be read.
std::uint32_t ExitCode(Process& process);

/// Writes to the child's standard input. The outcome is of no interest: a child that is gone is noticed elsewhere.
void WriteInput(ProcessInput& input, std::string_view bytes);

/// Kills every process of the job with exit code 1, without waiting.
void TerminateJob(Job& job);

}  // namespace zv
