// Child processes that exist only as records: they run, obey or ignore the quit command, and end as a test says.
//
// Time passes only inside `onWait`; without it a wait for a running child ends at once, as timed out.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/ChildProcess.h"

namespace zv::fake {

struct ScriptedChild {
    ChildOptions options;
    bool running = true;
    std::uint32_t exitCode = 0;
    bool exitsOnQuit = true;  ///< ends with exit code `quitCode` at "q\n"
    std::uint32_t quitCode = 0;
    bool diesOfTerminate = true;
    std::string input;                 ///< all that was written to its standard input
    std::vector<std::uint32_t> waits;  ///< the time-out of every wait that found it running
    bool terminated = false;
    bool processHeld = true;
    bool inputHeld = true;
    bool jobHeld = true;
};

struct ChildProcessControls {
    std::vector<std::shared_ptr<ScriptedChild>> children;  ///< all that were started, in order
    /// Runs in SpawnChild with the new child, to script it or to write its files.
    std::function<void(ScriptedChild& child)> onSpawn;
    /// Runs in WaitForExit while the child runs.
    std::function<void(ScriptedChild& child, std::uint32_t timeoutMs)> onWait;
};

/// Faults by name through FailCall: "SpawnChild" does not start, any other call may throw.
ChildProcessControls& TheChildren();
void ResetChildren();

/// The newest child.
ScriptedChild& LastChild();

/// Ends a child that still runs.
void EndChild(ScriptedChild& child, std::uint32_t exitCode);

}  // namespace zv::fake
