// The options of the program where it is started from a shell.
#pragma once

#include <vector>

#include "core/Text.h"

namespace zv {

enum class StartAction {
    Run,
    ShowHelp,
    ShowVersion,
    RunRemoteCommand,  ///< `text` is its name
    Refuse             ///< `text` is the sentence for the user
};

struct ProgramOptions {
    StartAction action = StartAction::Run;
    Text text{};
};

/// The exit code for options that the program refuses, of the BSD systems. Scripts expect other meanings of 1 and 2.
inline constexpr int usageExit = 64;

/// Decides on the arguments without the program's name. An option that the program does not know is refused, except one
/// that contains "--background", which every start accepts anywhere in its command line. Arguments that are no options
/// are ignored.
ProgramOptions ParseOptions(const std::vector<Text>& arguments);

Text HelpText();
Text VersionText();

}  // namespace zv
