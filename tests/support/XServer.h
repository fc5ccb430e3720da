// An X server of a test's own, without a screen and without a user.
#pragma once

#include <cstdlib>
#include <string>

#include "support/PlatformChild.h"
#include "support/TemporaryFolder.h"

namespace zv::support {

class XServer {
public:
    /// Starts one and makes it this process's display. `screen` is "WIDTHxHEIGHTxDEPTH".
    explicit XServer(const std::string& screen) : XServer(screen, FreshNumber()) {}
    /// Comes under a number that a killed one had.
    XServer(const std::string& screen, int displayNumber) : number_(displayNumber) {
        const std::filesystem::path log = folder_.Path() / "server.log";
        const std::string number = std::to_string(displayNumber);
        const std::string line = "Xvfb :" + number + " -displayfd 1 -noreset -nolisten tcp -screen 0 " + screen;
        const ChildOptions options = {u"/usr/bin/Xvfb", Text(line.begin(), line.end()), FromPath(log)};
        if (!SpawnChild(options, server_)) {
            return;
        }
        // The server writes its number when it is ready.
        Eventually([&] { return ContentOf(log).ends_with(number + "\n") || !IsRunning(*server_.process); });
        name_ = ":" + number;
        setenv("DISPLAY", name_.c_str(), 1);
    }
    ~XServer() {
        Kill();
        // A killed server leaves them, and the numbers are as many as there are.
        std::error_code ignored;
        std::filesystem::remove("/tmp/.X" + name_.substr(1) + "-lock", ignored);
        std::filesystem::remove("/tmp/.X11-unix/X" + name_.substr(1), ignored);
    }
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    int Number() const { return number_; }

    /// As a crash would end it.
    void Kill() {
        TerminateJob(*server_.job);
        WaitForExit(*server_.process, 60000);
    }

private:
    /// Servers that look for a free number by themselves get in each other's way when one is killed.
    static int FreshNumber() {
        static int count = 0;
        constexpr int first = 1000;
        constexpr std::uint32_t span = 20000;
        return first + static_cast<int>(OwnProcessId() % span) + static_cast<int>(span) * (count++ % 2);
    }

    int number_;
    TemporaryFolder folder_;
    Child server_;
    std::string name_;
};

}  // namespace zv::support
