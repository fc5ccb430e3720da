#include "support/Processes.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "support/Eventually.h"
#include "support/FileBytes.h"

extern char** environ;

namespace zv::support {

namespace fs = std::filesystem;

namespace {

std::vector<char*> Pointers(std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    for (std::string& string : strings) {
        pointers.push_back(string.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> Environment(const Variables& variables) {
    std::vector<std::string> lines;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string line = *entry;
        if (!variables.contains(line.substr(0, line.find('=')))) {
            lines.push_back(line);
        }
    }
    for (const auto& [name, value] : variables) {
        if (!value.empty()) {
            lines.push_back(name + "=" + value);
        }
    }
    return lines;
}

/// Called in a child right after the fork, so that a test which crashes or is killed leaves no process.
void DieWithParent(pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {  // the parent died before the call
        _exit(127);
    }
}

[[noreturn]] void Execute(const Arguments& command, const Variables& variables) {
    std::vector<std::string> words = command;
    std::vector<std::string> lines = Environment(variables);
    execvpe(words[0].c_str(), Pointers(words).data(), Pointers(lines).data());
    _exit(127);
}

}  // namespace

void ReadOutput(const Arguments& command, bool both, const std::function<void(std::span<const char>)>& part) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const pid_t parent = getpid();
    const pid_t pid = fork();
    if (pid == 0) {
        DieWithParent(parent);
        dup2(ends[1], STDOUT_FILENO);
        if (both) {
            dup2(ends[1], STDERR_FILENO);
        }
        const int empty = open("/dev/null", O_RDONLY);
        dup2(empty, STDIN_FILENO);
        Execute(command, {});
    }
    close(ends[1]);
    std::vector<char> block(65536);
    for (ssize_t count = 0; (count = read(ends[0], block.data(), block.size())) > 0;) {
        part({block.data(), static_cast<std::size_t>(count)});
    }
    close(ends[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << command[0] << " failed with status " << status;
}

std::string OutputOf(const Arguments& command, bool both) {
    std::string output;
    const bool failedBefore = testing::Test::HasFailure();
    ReadOutput(command, both, [&](std::span<const char> part) { output.append(part.data(), part.size()); });
    if (testing::Test::HasFailure() && !failedBefore) {
        ADD_FAILURE() << output.substr(0, 2000);
    }
    return output;
}

Spawned::Spawned(const Arguments& command, const Variables& variables, const fs::path& log) {
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ == 0) {
        DieWithParent(parent);
        const int output = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        const int empty = open("/dev/null", O_RDONLY);
        dup2(empty, STDIN_FILENO);
        dup2(output, STDOUT_FILENO);
        dup2(output, STDERR_FILENO);
        Execute(command, variables);
    }
}

Spawned::Spawned(Spawned&& other) noexcept : pid_(other.pid_), status_(other.status_) { other.pid_ = -1; }

Spawned& Spawned::operator=(Spawned&& other) noexcept {
    std::swap(pid_, other.pid_);
    std::swap(status_, other.status_);
    return *this;
}

Spawned::~Spawned() {
    if (pid_ > 0 && Alive()) {
        kill(pid_, SIGKILL);
        WaitExit(10);
    }
}

bool Spawned::Alive() { return pid_ > 0 && !WaitExit(0).has_value(); }

void Spawned::Send(int signal) const {
    if (pid_ > 0) {  // -1 is every process
        kill(pid_, signal);
    }
}

std::optional<int> Spawned::WaitExit(double seconds) {
    Eventually(
        [this] {
            int status = 0;
            if (!status_ && pid_ > 0 && waitpid(pid_, &status, WNOHANG) == pid_) {  // -1 is any child
                status_ = status;
            }
            return status_.has_value();
        },
        static_cast<std::uint32_t>(seconds * 1000));
    return status_;
}

std::vector<pid_t> ProcessesWith(const std::string& part) {
    std::vector<pid_t> found;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const pid_t pid = std::atoi(entry.path().filename().c_str());
        if (pid <= 0 || pid == getpid()) {
            continue;
        }
        std::string line;
        try {
            line = ReadBytes(entry.path() / "cmdline");  // empty for a zombie
        } catch (const std::ios_base::failure&) {        // the process has ended meanwhile
            continue;
        }
        std::replace(line.begin(), line.end(), '\0', ' ');
        if (line.find(part) != std::string::npos) {
            found.push_back(pid);
        }
    }
    return found;
}

std::size_t OpenFiles() { return static_cast<std::size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), {})); }

ScopedVariable::ScopedVariable(const char* name, const std::string& value) : name_(name) {
    if (const char* before = std::getenv(name)) {
        before_ = before;
    }
    value.empty() ? unsetenv(name) : setenv(name, value.c_str(), 1);
}

ScopedVariable::~ScopedVariable() { before_ ? setenv(name_.c_str(), before_->c_str(), 1) : unsetenv(name_.c_str()); }

}  // namespace zv::support
