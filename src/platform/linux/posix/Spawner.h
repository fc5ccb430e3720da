// The one thread that starts all children of this process and reaps those that nobody waits for.
//
// The kernel sends the death signal when the thread that started the child ends, and most of our threads are
// short-lived. This one runs until the process ends, so its children die with the process and not before.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/linux/posix/Posix.h"

namespace zv {

struct SpawnPlan {
    std::string path;
    std::vector<std::string> arguments;  ///< begin with the program's name
    int input = -1;                      ///< becomes descriptor 0; 3 or above
    int output = -1;                     ///< becomes descriptor 1; 3 or above
    int errors = -1;                     ///< becomes descriptor 2; 3 or above
    bool outlivesUs = false;             ///< no death signal
    bool confined = false;               ///< low priority, limited memory, no core file
};

/// Starts a child as the leader of a process group of its own and waits until exec has succeeded. Returns its process
/// id, or -1 on failure.
pid_t SpawnFromPermanentThread(SpawnPlan plan);

/// Reaps a child within a second after it has ended, a killed one sooner. Does not block the caller.
void CollectLater(pid_t child);

}  // namespace zv
