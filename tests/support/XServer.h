// A private X server of a test, without a screen or input devices.
#pragma once

#include <cstdlib>
#include <string>

#include "support/DisplayNumber.h"
#include "support/Eventually.h"
#include "support/PlatformChild.h"
#include "support/TemporaryFolder.h"

namespace zv::support {

class XServer {
public:
    /// Starts a server and makes it this process's display. `screen` is "WIDTHxHEIGHTxDEPTH".
    explicit XServer(const std::string& screen) : XServer(screen, FreshDisplayNumber()) {}
    /// Uses a display number that a killed server had.
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
        ForgetDisplayNumber(number_);
    }
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    int Number() const { return number_; }

    /// Kills the server, as a crash would.
    void Kill() {
        TerminateJob(*server_.job);
        WaitForExit(*server_.process, 60000);
    }

private:
    int number_;
    TemporaryFolder folder_;
    Child server_;
    std::string name_;
};

}  // namespace zv::support
