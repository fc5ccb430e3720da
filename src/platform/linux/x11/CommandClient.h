// Hands a command to the running copy of this session. Needs no OpenSession, which would block the signals that end a
// waiting script.
#pragma once

#include "platform/CommandOutcome.h"

namespace zv::x11 {

/// The property of the selection's owner that holds the path of its socket.
inline constexpr char commandSocketProperty[] = "_ZORVEL_COMMAND_SOCKET";

/// The exit codes of a start with a command.
namespace commandExit {
inline constexpr int done = 0;
inline constexpr int failed = 1;  ///< refused or failed
inline constexpr int noCopy = 2;  ///< no copy of this user runs in this session
}  // namespace commandExit

/// Waits for the outcome and returns the exit code. `instanceName` is that of ClaimSingleInstance.
int RunInOtherCopy(TextView instanceName, TextView command, CommandOutcome& outcome);

}  // namespace zv::x11
