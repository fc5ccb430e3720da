// A start of a program by a script, with its two outputs. Linux only.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <string>

#include "support/FileBytes.h"
#include "support/Processes.h"
#include "support/TemporaryFolder.h"

namespace zv::support {

struct ScriptOutcome {
    int exitCode = -1;
    std::string output;
    std::string errors;
};

class ScriptCommand {
public:
    ScriptCommand(const Arguments& command, const std::string& display) {
        const std::string out = (folder_.Path() / "out").string();
        const std::string err = (folder_.Path() / "err").string();
        Arguments line{"sh", "-c", "out=$1 err=$2; shift 2; exec \"$@\" >\"$out\" 2>\"$err\"", "sh", out, err};
        line.insert(line.end(), command.begin(), command.end());
        process_ = Spawned(line, {{"DISPLAY", display}}, folder_.Path() / "log");
    }
    Spawned& Process() { return process_; }
    ScriptOutcome Wait() {
        const auto status = process_.WaitExit(120);
        EXPECT_TRUE(status.has_value()) << "it did not end";
        return {status && WIFEXITED(*status) ? WEXITSTATUS(*status) : -1, ReadBytes(folder_.Path() / "out"),
                ReadBytes(folder_.Path() / "err")};
    }

private:
    TemporaryFolder folder_{"zorvel-script"};
    Spawned process_;
};

}  // namespace zv::support
