// The start and the end of the program: the order in which core, engine and windows are created.
#pragma once

#include "core/Text.h"

namespace zv {

/// The name that the one copy of a session claims.
inline constexpr char16_t instanceName[] = u"Local\\ZVReelsMax_SingleInstance";

/// Runs the program on the calling thread, which becomes the interface thread. Returns the exit code of the process.
/// Called after OpenSession has returned true (on Windows after any result).
int RunApplication(const Text& commandLine);

}  // namespace zv
