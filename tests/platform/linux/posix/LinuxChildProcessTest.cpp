#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "support/Eventually.h"
#include "support/PlatformChild.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using support::ContentOf;
using support::Eventually;
using support::generousMs;
using support::PlatformChild;

class LinuxChildProcess : public testing::Test {
protected:
    std::filesystem::path Log() const { return folder_.Path() / "child.log"; }

    std::string OutputOf(const Text& executable, const Text& arguments) {
        Child child;
        EXPECT_TRUE(SpawnChild({executable, u"\"" + executable + u"\" " + arguments, FromPath(Log())}, child));
        EXPECT_TRUE(child.process && WaitForExit(*child.process, generousMs));
        return ContentOf(Log());
    }

    support::TemporaryFolder folder_;
};

std::size_t OpenDescriptors() {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

bool HasNoChildren() {
    siginfo_t information{};
    return waitid(P_ALL, 0, &information, WEXITED | WNOHANG | WNOWAIT) < 0 && errno == ECHILD;
}

std::string FieldOf(int process, const std::string& field) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(field + ":")) {
            return line.substr(line.find_first_not_of(" \t", field.size() + 1));
        }
    }
    return {};
}

/// Returns true if the process does not exist or is a zombie.
bool IsDead(int process) {
    const std::string state = FieldOf(process, "State");
    return state.empty() || state.front() == 'Z' || state.front() == 'X';
}

TEST_F(LinuxChildProcess, StartingLeaksNoDescriptorAndNoZombie) {
    { OutputOf(u"/bin/true", u""); }
    const std::size_t before = OpenDescriptors();
    for (int i = 0; i < 20; ++i) {
        OutputOf(u"/bin/true", u"");
        Child child;
        EXPECT_FALSE(SpawnChild({u"/bin/missing", u"missing", FromPath(Log())}, child));
        EXPECT_FALSE(SpawnChild({u"/bin/true", u"true", u"/no such folder/log"}, child));
        ASSERT_TRUE(SpawnChild({u"/bin/sleep", u"sleep 600", FromPath(Log())}, child));
    }
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_TRUE(Eventually(HasNoChildren));
}

TEST_F(LinuxChildProcess, FailsToStartAFolderAndANonExecutableFile) {
    Child child;
    EXPECT_FALSE(SpawnChild({FromPath(folder_.Path()), u"x", FromPath(Log())}, child));
    std::ofstream(folder_.Path() / "text") << "text";
    EXPECT_FALSE(SpawnChild({FromPath(folder_.Path() / "text"), u"x", FromPath(Log())}, child));
    EXPECT_FALSE(child.process || child.input || child.job);
    EXPECT_TRUE(Eventually(HasNoChildren));
}

TEST_F(LinuxChildProcess, TheChildInheritsOnlyItsStandardDescriptors) {
    const int inheritable = open("/dev/null", O_RDONLY);
    const std::string listed = OutputOf(u"/bin/ls", u"/proc/self/fd");
    close(inheritable);
    EXPECT_EQ(listed, "0\n1\n2\n3\n") << "3 is the folder that is being listed";
}

TEST_F(LinuxChildProcess, TheChildStartsWithoutBlockedAndIgnoredSignals) {
    sigset_t blocked;
    sigset_t saved;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &saved);
    const auto handler = std::signal(SIGPIPE, SIG_IGN);
    const std::string status = OutputOf(u"/bin/grep", u"-E \"Sig(Blk|Ign)\" /proc/self/status");
    std::signal(SIGPIPE, handler);
    pthread_sigmask(SIG_SETMASK, &saved, nullptr);
    EXPECT_EQ(status, "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
}

TEST_F(LinuxChildProcess, AChildKilledByASignalHasExitCodeOne) {
    Child child;
    ASSERT_TRUE(SpawnChild({u"/bin/sh", u"sh -c \"kill -TERM $$\"", FromPath(Log())}, child));
    ASSERT_TRUE(WaitForExit(*child.process, generousMs));
    EXPECT_EQ(ExitCode(*child.process), 1U);
}

TEST_F(LinuxChildProcess, AChildDiesWithItsKilledParent) {
    const std::filesystem::path ticks = folder_.Path() / "ticks";
    Child parent;
    ASSERT_TRUE(SpawnChild(
        PlatformChild(u"spawn \"" + FromPath(ticks) + u"\" \"" + FromPath(folder_.Path() / "inner.log") + u"\" wait",
                      Log()),
        parent));
    ASSERT_TRUE(Eventually([&] { return ContentOf(Log()) == "started\n"; }));
    const int child = std::stoi(ContentOf(ticks));
    const int parentId = std::stoi(FieldOf(child, "PPid"));
    EXPECT_FALSE(IsDead(child));
    ASSERT_EQ(kill(parentId, SIGKILL), 0);
    ASSERT_TRUE(WaitForExit(*parent.process, generousMs));
    EXPECT_TRUE(Eventually([&] { return IsDead(child); }));
}

TEST_F(LinuxChildProcess, AProgramBehindAScriptDiesWithOurKilledProcess) {
    const std::filesystem::path script = folder_.Path() / "script";
    std::ofstream(script) << "#!/bin/sh\n\"$@\"\nexit $?\n";
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    const std::filesystem::path ticks = folder_.Path() / "ticks";
    Child parent;
    ASSERT_TRUE(
        SpawnChild(PlatformChild(u"spawn \"" + FromPath(ticks) + u"\" \"" + FromPath(folder_.Path() / "inner.log") +
                                     u"\" wait \"" + FromPath(script) + u"\"",
                                 Log()),
                   parent));
    ASSERT_TRUE(Eventually([&] { return ContentOf(Log()) == "started\n"; }));
    const int program = std::stoi(ContentOf(ticks));
    const int shell = std::stoi(FieldOf(program, "PPid"));
    const int parentId = std::stoi(FieldOf(shell, "PPid"));
    // A stopped program does not notice anything by itself.
    ASSERT_EQ(kill(program, SIGSTOP), 0);
    ASSERT_EQ(kill(parentId, SIGKILL), 0);
    ASSERT_TRUE(WaitForExit(*parent.process, generousMs));
    EXPECT_TRUE(Eventually([&] { return IsDead(shell) && IsDead(program); }));
}

TEST_F(LinuxChildProcess, TheJobKillsTheProcessesThatAScriptHasLeft) {
    Child child;
    ASSERT_TRUE(SpawnChild({u"/bin/sh", u"sh -c \"sleep 600 & echo $!\"", FromPath(Log())}, child));
    ASSERT_TRUE(WaitForExit(*child.process, generousMs));
    const int left = std::stoi(ContentOf(Log()));
    EXPECT_FALSE(IsDead(left));
    child.job.reset();
    EXPECT_TRUE(Eventually([&] { return IsDead(left); }));
}

TEST_F(LinuxChildProcess, AChildThatDoesNotReadDoesNotBlockItsWriter) {
    Child child;
    ASSERT_TRUE(SpawnChild({u"/bin/sleep", u"sleep 600", FromPath(Log())}, child));
    WriteInput(*child.input, std::string(1000000, 'q'));
    EXPECT_TRUE(IsRunning(*child.process));
}

TEST_F(LinuxChildProcess, StartsWithOurStandardDescriptorsClosed) {
    int saved[3] = {};
    for (int i = 0; i < 3; ++i) {
        saved[i] = fcntl(i, F_DUPFD_CLOEXEC, 100);
        close(i);
    }
    // Both children are destroyed before the descriptors are restored, because theirs may have the same numbers.
    std::uint32_t quitCode = 99;
    {
        Child child;
        if (SpawnChild(PlatformChild(u"quit", Log()), child)) {
            WriteInput(*child.input, "q");
            quitCode = WaitForExit(*child.process, generousMs) ? ExitCode(*child.process) : 98;
        }
    }
    bool ended = false;
    {
        Child child;
        ended = SpawnChild(PlatformChild(u"outputs", Log()), child) && WaitForExit(*child.process, generousMs);
    }
    for (int i = 0; i < 3; ++i) {
        dup2(saved[i], i);
        close(saved[i]);
    }
    EXPECT_EQ(quitCode, 7U);
    EXPECT_TRUE(ended);
    EXPECT_EQ(ContentOf(Log()), "to the output\nto the error\n");
}

TEST_F(LinuxChildProcess, ManyThreadsStartChildrenAtOnce) {
    std::vector<std::thread> threads;
    std::atomic<int> good{0};
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 5; ++round) {
                Child child;
                const Text code = Decimal(i * 10 + round);
                const auto log = folder_.Path() / ("log" + std::to_string(i));
                if (SpawnChild({u"/bin/sh", u"sh -c \"exit " + code + u"\"", FromPath(log)}, child) &&
                    WaitForExit(*child.process, generousMs) &&
                    ExitCode(*child.process) == static_cast<std::uint32_t>(i * 10 + round)) {
                    ++good;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(good, 40);
}

}  // namespace
}  // namespace zv
