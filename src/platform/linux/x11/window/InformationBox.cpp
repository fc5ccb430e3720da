// A message box of the desktop's own program; without one, a line on standard error.
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "platform/Files.h"
#include "platform/InformationBox.h"
#include "platform/Window.h"

namespace zv {
namespace {

/// Runs a program of the search path and waits until it ends. Returns false if it could not be started.
bool RunToEnd(std::vector<std::string> arguments) {
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t noSignals;
    sigemptyset(&noSignals);
    posix_spawnattr_setsigmask(&attributes, &noSignals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    pid_t child = -1;
    const int error = posix_spawnp(&child, pointers[0], nullptr, &attributes, pointers.data(), environ);
    posix_spawnattr_destroy(&attributes);
    int status = 0;
    return error == 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) != 127;
}

}  // namespace

void ShowInformation(TextView text, TextView caption) {
    const std::string body = ToPath(text).string();
    const std::string title = ToPath(caption).string();
    if (RunToEnd({"zenity", "--info", "--no-markup", "--title=" + title, "--text=" + body}) ||
        RunToEnd({"xmessage", "-center", "-title", title, body})) {
        return;
    }
    std::fprintf(stderr, "%s: %s\n", title.c_str(), body.c_str());
}

}  // namespace zv
