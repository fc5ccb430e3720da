// The one thread that starts every child of this process and collects those that nobody waits for any more.
//
// The kernel's promise to kill a child with its parent holds for the thread that started it, and most of our threads
// are short-lived. This one lives until the process ends, so its children die then and not before.
#pragma once

#include <sys/types.h>

#include "platform/linux/posix/Posix.h"

namespace zv {

struct SpawnPlan {
    const char* path = nullptr;
    char* const* arguments = nullptr;
    int input = -1;  ///< becomes descriptor 0; 3 or above
    int log = -1;    ///< becomes descriptors 1 and 2; 3 or above
};

/// Starts a child as the leader of a process group of its own and waits until it runs its program. The answer is its
/// process id, or -1 when nothing was started.
pid_t SpawnFromPermanentThread(const SpawnPlan& plan);

/// Takes over a child that has been killed, to collect it when it is gone.
void CollectLater(pid_t child);

}  // namespace zv
