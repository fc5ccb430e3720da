// A child process in a group of its own that does not outlive this process.
//
// The death signal reaches only the child itself, which may be a script that has started the program proper. So each
// child has a guard: a shell that waits for the end of a pipe, which comes with the end of this process, and then kills
// the group.
//
// A child that has ended is reaped by the destructor. Until then its process id and group id are not reused, so that a
// kill cannot hit another process.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <utility>

#include "platform/linux/posix/Posix.h"
#include "platform/linux/posix/Spawner.h"

namespace zv {

/// A pipe for the standard input of a child. Writes do not block.
struct InputPipe {
    Descriptor readEnd;
    Descriptor writeEnd;
};

bool MakeInputPipe(InputPipe& input);

class GuardedChild {
public:
    /// Returns null on failure; then no process runs.
    static std::shared_ptr<GuardedChild> Start(SpawnPlan plan);

    GuardedChild(pid_t pid, Descriptor descriptor) : pid_(pid), descriptor_(std::move(descriptor)) {}
    ~GuardedChild();
    GuardedChild(const GuardedChild&) = delete;
    GuardedChild& operator=(const GuardedChild&) = delete;

    bool EndsWithin(std::uint32_t timeoutMs) const;
    /// The exit code of a child that has ended; 1 if it was killed.
    std::uint32_t ExitCode() const;
    /// Kills the child, which may have left its group, and the rest of the group. Any thread.
    void Kill() const;

private:
    bool StartGuard(int errors);

    pid_t pid_;
    Descriptor descriptor_;  ///< a pidfd, readable once the child has ended
    pid_t guard_ = -1;
    Descriptor guardPipe_;  ///< our end of the pipe for whose end the guard waits
};

}  // namespace zv
