// The programs that a test starts, and the processes and files of the machine. Everything that a test starts ends with
// the object that started it. Linux only.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zv::support {

using Arguments = std::vector<std::string>;
/// Changes to the environment of this process. An empty value removes a variable.
using Variables = std::map<std::string, std::string>;

/// Runs a program to its end and passes on each part of its standard output, and of its standard error if `both`.
/// The test fails if the exit code is not 0.
void ReadOutput(const Arguments& command, bool both, const std::function<void(std::span<const char>)>& part);

/// The whole output. The test fails, and shows the output, if the exit code is not 0.
std::string OutputOf(const Arguments& command, bool both = false);

/// A child process. The destructor kills and reaps it. It also dies with the thread that started it.
class Spawned {
public:
    Spawned() = default;
    Spawned(const Arguments& command, const Variables& variables, const std::filesystem::path& log);
    ~Spawned();
    Spawned(Spawned&& other) noexcept;
    Spawned& operator=(Spawned&& other) noexcept;

    pid_t Pid() const { return pid_; }
    bool Alive();
    void Send(int signal) const;
    /// The status of waitpid. Empty if the process did not exit within the time.
    std::optional<int> WaitExit(double seconds = 60);

private:
    pid_t pid_ = -1;
    std::optional<int> status_;
};

/// The processes whose command line contains `part`, except zombies.
std::vector<pid_t> ProcessesWith(const std::string& part);

/// The number of open descriptors of this process.
std::size_t OpenFiles();

/// Sets an environment variable until the end of the scope. An empty value removes it.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const std::string& value);
    ~ScopedVariable();
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    std::string name_;
    std::optional<std::string> before_;
};

}  // namespace zv::support
