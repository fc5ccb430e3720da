// A program of the desktop that shows one dialog and prints the user's choice. It dies with this process. Interface
// thread only.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/posix/Posix.h"

namespace zv {

class DialogProgram {
public:
    DialogProgram() = default;
    /// Kills the program if it runs.
    ~DialogProgram();
    DialogProgram(const DialogProgram&) = delete;
    DialogProgram& operator=(const DialogProgram&) = delete;

    /// Starts a program of the search path. Returns false if it cannot be started.
    bool Start(std::vector<std::string> arguments);

    /// Readable once the program has ended.
    int EndDescriptor() const { return end_.Get(); }
    bool HasEnded() const;

    /// What the program printed, without its last line feed. Returns nothing unless it has ended with exit code 0.
    std::optional<std::string> Output();

private:
    pid_t pid_ = -1;
    Descriptor end_;  ///< a pidfd
    Descriptor output_;
};

}  // namespace zv
