// Child processes that exist only as records. The test sets whether they obey the quit command and when they end.
//
// Time passes only inside `onWait`. Without it, a wait for a running child times out at once.
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
    bool exitsOnQuit = true;  ///< ends with exit code `quitCode` after "q\n"
    std::uint32_t quitCode = 0;
    bool diesOfTerminate = true;
    std::string input;                 ///< all that was written to its standard input
    std::vector<std::uint32_t> waits;  ///< the timeout of every wait while it ran
    bool terminated = false;
    bool processHeld = true;
    bool inputHeld = true;
    bool jobHeld = true;
};

struct ChildProcessControls {
    std::vector<std::shared_ptr<ScriptedChild>> children;  ///< all started children, in order
    /// Runs in SpawnChild with the new child, to script it or to write its files.
    std::function<void(ScriptedChild& child)> onSpawn;
    /// Runs in WaitForExit while the child runs.
    std::function<void(ScriptedChild& child, std::uint32_t timeoutMs)> onWait;
};

/// FailCall for "SpawnChild" makes the start fail. ThrowInCall works for every call.
ChildProcessControls& TheChildren();
void ResetChildren();

/// The newest child.
ScriptedChild& LastChild();

/// Ends a running child.
void EndChild(ScriptedChild& child, std::uint32_t exitCode);

}  // namespace zv::fake
