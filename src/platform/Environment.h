// The process: environment variables, process id, the folder of its executable, the search path. Any thread.
#pragma once

#include <cstdint>

#include "core/Text.h"

namespace zv {

/// The value of an environment variable; empty if the variable is not set.
/// On Linux "LOCALAPPDATA" falls back to XDG_DATA_HOME and then to $HOME/.local/share.
Text EnvironmentValue(TextView name);

/// Sets a variable of this process and of all children that it starts later.
void SetEnvironmentValue(TextView name, TextView value);

std::uint32_t OwnProcessId();

/// Returns false only if no process has this id.
bool IsProcessRunning(std::uint32_t processId);

/// The folder of the running executable, without a separator at its end.
Text ExecutableFolder();

/// "ffmpeg.exe" or "ffmpeg".
extern const char16_t* const ffmpegFileName;

/// Returns the full path of the first file of this name on the search path for programs; empty if there is none.
Text FindOnSearchPath(TextView fileName);

}  // namespace zv
