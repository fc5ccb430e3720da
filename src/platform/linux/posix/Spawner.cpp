// Steps of a start: block signals, vfork, and in the child reset what it must not inherit, request the death signal,
// assign the standard descriptors, close all others, exec. A pipe that is closed by exec shows whether exec succeeded.
#include "platform/linux/posix/Spawner.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/linux/posix/EnvironmentLock.h"

namespace zv {
namespace {

struct Request {
    const SpawnPlan& plan;
    std::vector<char*> arguments;  ///< of the plan, and a null
    pid_t child = -1;
    bool done = false;
};

/// Between two looks for orphans that have ended. Killed ones end at once; a browser runs for hours.
constexpr std::chrono::milliseconds shortestCollectPeriod(20);
constexpr std::chrono::milliseconds longestCollectPeriod(1000);

struct Spawner {
    std::mutex lock;
    std::condition_variable called;
    std::condition_variable answered;
    bool started = false;
    std::vector<Request*> requests;
    std::vector<pid_t> orphans;
    std::chrono::milliseconds collectPeriod = shortestCollectPeriod;
};

/// Never destroyed: its thread runs until the process ends.
Spawner& TheSpawner() {
    static Spawner* const spawner = new Spawner;
    return *spawner;
}

void ResetSignals() {
    struct sigaction usual {};
    usual.sa_handler = SIG_DFL;
    for (int signal = 1; signal < NSIG; ++signal) {
        sigaction(signal, &usual, nullptr);
    }
    sigset_t nothing;
    sigemptyset(&nothing);
    sigprocmask(SIG_SETMASK, &nothing, nullptr);
}

/// Other programs are served first. A hostile file can make a decoder request any amount of memory; 4 GB are enough for
/// the largest picture that is shown.
void Confine() {
    constexpr int lowPriority = 5;
    constexpr rlimit memory{rlim_t{4} << 30U, rlim_t{4} << 30U};
    constexpr rlimit noCore{0, 0};
    setpriority(PRIO_PROCESS, 0, lowPriority);
    setrlimit(RLIMIT_AS, &memory);
    setrlimit(RLIMIT_CORE, &noCore);
}

/// Runs in the memory of the parent, which is suspended until exec. It must not change memory that the parent reads.
[[noreturn]] void RunChild(const Request& request, pid_t parent, int report) {
    ResetSignals();
    setpgid(0, 0);
    const SpawnPlan& plan = request.plan;
    if (!plan.outlivesUs) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
    }
    if (plan.confined) {
        Confine();
    }
    // The death signal is not sent if the parent died before the line above.
    if (getppid() == parent && dup2(plan.input, 0) == 0 && dup2(plan.output, 1) == 1 && dup2(plan.errors, 2) == 2) {
        syscall(SYS_close_range, 3U, ~0U, CLOSE_RANGE_CLOEXEC);
        execve(plan.path.c_str(), request.arguments.data(), environ);
    }
    const char failed = 1;
    static_cast<void>(!write(report, &failed, 1));
    _exit(127);
}

/// Returns true if exec succeeded: it closed the pipe and nothing was written to it.
bool ProgramRuns(int report) {
    char failed = 0;
    ssize_t count = 0;
    do {
        count = read(report, &failed, 1);
    } while (count < 0 && errno == EINTR);
    return count == 0;
}

[[gnu::noinline]] pid_t Fork(const Request& request, int report) {
    const pid_t parent = getpid();
    const pid_t child = vfork();
    if (child == 0) {
        RunChild(request, parent, report);
    }
    return child;
}

pid_t Spawn(const Request& request) {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return -1;
    }
    const Descriptor outcome(ends[0]);
    Descriptor lowReport(ends[1]);
    // Above the standard descriptors, which the child replaces.
    Descriptor report(fcntl(lowReport.Get(), F_DUPFD_CLOEXEC, 3));
    lowReport.Reset();
    if (!report.Held()) {
        return -1;
    }
    const std::lock_guard environment(EnvironmentLock());
    const pid_t child = Fork(request, report.Get());
    report.Reset();
    if (child > 0 && !ProgramRuns(outcome.Get())) {
        waitpid(child, nullptr, 0);
        return -1;
    }
    return child;
}

void Collect(std::vector<pid_t>& orphans) {
    std::erase_if(orphans, [](pid_t child) {
        const pid_t collected = waitpid(child, nullptr, WNOHANG);
        return collected == child || (collected < 0 && errno == ECHILD);
    });
}

[[noreturn]] void ServeForEver(Spawner& spawner) {
    // No signal handler may run between vfork and exec, because it would run in the child.
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, nullptr);

    std::unique_lock guard(spawner.lock);
    for (;;) {
        if (spawner.requests.empty() && spawner.orphans.empty()) {
            spawner.called.wait(guard);
        } else if (spawner.requests.empty() &&
                   spawner.called.wait_for(guard, spawner.collectPeriod) == std::cv_status::timeout) {
            spawner.collectPeriod = std::min(2 * spawner.collectPeriod, longestCollectPeriod);
        }
        Collect(spawner.orphans);
        const std::vector<Request*> requests = std::move(spawner.requests);
        spawner.requests.clear();
        for (Request* request : requests) {
            request->child = Spawn(*request);
            request->done = true;
        }
        spawner.answered.notify_all();
    }
}

std::vector<char*> PointersTo(std::vector<std::string>& arguments) {
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// Called with the lock held.
bool EnsureStarted(Spawner& spawner) {
    if (spawner.started) {
        return true;
    }
    try {
        std::thread([&spawner] { ServeForEver(spawner); }).detach();
        spawner.started = true;
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

}  // namespace

pid_t SpawnFromPermanentThread(SpawnPlan plan) {
    Request request{plan, PointersTo(plan.arguments)};
    Spawner& spawner = TheSpawner();
    std::unique_lock guard(spawner.lock);
    if (!EnsureStarted(spawner)) {
        return -1;
    }
    spawner.requests.push_back(&request);
    spawner.called.notify_one();
    spawner.answered.wait(guard, [&request] { return request.done; });
    return request.child;
}

void CollectLater(pid_t child) {
    Spawner& spawner = TheSpawner();
    const std::lock_guard guard(spawner.lock);
    spawner.orphans.push_back(child);
    spawner.collectPeriod = shortestCollectPeriod;
    spawner.called.notify_one();
}

}  // namespace zv
