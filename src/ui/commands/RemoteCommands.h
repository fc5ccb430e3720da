// The commands that scripts, launchers and window managers run through a later start of the program.
//
// A command is that of a key, with one addition: its outcome is passed to the process that requested it. Interface
// thread only.
#pragma once

#include "platform/CommandOutcome.h"

namespace zv {

/// Runs the command. The reply follows at once if the command is refused, unknown or the overlay's, else when its job
/// is collected.
void RunRemoteCommand(TextView name, CommandReply reply);

/// Called with the result of a collected job. Answers `waiting`, if a remote command has started the job.
void AnswerRemoteCommand(CommandReply& waiting, const Text& sentence);

}  // namespace zv
