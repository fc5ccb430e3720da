// A command that another process hands to the running copy, and its outcome. Plain records.
#pragma once

#include <functional>

#include "core/Text.h"

namespace zv {

struct CommandOutcome {
    bool done = false;  ///< false: refused or failed
    Text sentence;      ///< for the user
    Text path;          ///< of the file; empty if there is none
};

/// Called once with the outcome, at once or later, on the interface thread.
using CommandReply = std::function<void(const CommandOutcome&)>;

/// Runs the command of that name, which may be any text.
using CommandHandler = void (*)(TextView name, CommandReply reply);

}  // namespace zv
